#!/bin/sh
# guard.sh COMPILER: changes a small library in one way after another, and looks at what script/abi
# says of each.
set -eu
compiler=$1
guard=$(cd "$(dirname "$0")/../.." && pwd)/script/abi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The library as it is recorded.
mkdir -p "$work/original/include" "$work/original/src"
cat >"$work/original/include/tiny.h" <<'EOF'
#include <map>
#include "insides.h"
#define API __attribute__((visibility("default")))
namespace tiny {
struct Entry {
    int first;
    unsigned second;
};
struct API Failure {
    Failure(int number, long place) : code(number), position(place) {}
    int code;
    long position;
};
class API Tiny {
  public:
    Tiny();
    virtual ~Tiny();
    virtual int open(int mode);
    virtual int close(int mode);
    int size();
  private:
    Insides insides;
    int handle;
    std::map<int, Entry> entries;
};
API int version();
API extern int limit;
}
EOF
cat >"$work/original/src/insides.h" <<'EOF'
struct Part { int number; };
struct Insides { Part* part; };
EOF
cat >"$work/original/src/tiny.cpp" <<'EOF'
#include "tiny.h"
namespace tiny {
Tiny::Tiny() : handle(0) {}
Tiny::~Tiny() {}
int Tiny::open(int mode) { entries[mode] = Entry(); return handle = mode; }
int Tiny::close(int mode) { if (mode < 0) { throw Failure(mode, 0); } return mode; }
int Tiny::size() { insides.part = nullptr; return handle; }
int version() { return 1; }
int limit = 3;
}
EOF

# variant NAME [SED_SCRIPT]: the library, each of its sources edited, as NAME.so.
variant() {
    folder=$work/$1
    [ "$1" = original ] || cp -R "$work/original" "$folder"
    sed -i -e "${2:-}" "$folder/include/tiny.h" "$folder/src/insides.h" "$folder/src/tiny.cpp"
    if [ $# -eq 2 ] && diff -r "$work/original" "$folder" >/dev/null; then
        echo "FAILED  $1: the edit changes nothing"
        exit 1
    fi
    (cd "$folder" && "$compiler" -std=c++17 -O1 -g -fPIC -shared -fvisibility=hidden \
        "-ffile-prefix-map=$folder/=" -I "$folder/include" -I "$folder/src" \
        -o "$work/$1.so" "$folder/src/tiny.cpp")
}

# expect STATUS NAME [TEXT]...: what the guard answers for NAME.so, and what its report says.
expect() {
    "$guard" --compare "$work/$2.so" "$work/record" >"$work/report" 2>&1 && got=0 || got=$?
    wanted=$1 name=$2
    shift 2
    if [ "$got" -ne "$wanted" ]; then
        echo "FAILED  $name: status $got instead of $wanted"
        cat "$work/report"
        failures=1
    fi
    for text in "$@"; do
        if ! grep -qF -- "$text" "$work/report"; then
            echo "FAILED  $name: the report lacks: $text"
            cat "$work/report"
            failures=1
        fi
    done
}

failures=0
variant original
"$guard" --record "$work/original.so" "$work/record"
expect 0 original

variant elsewhere '1i // Everything one line down.'
"$guard" --record "$work/elsewhere.so" "$work/second_record"
if ! cmp "$work/record" "$work/second_record" || grep -F "$work" "$work/record"; then
    echo "FAILED  the record depends on the folder or on lines"
    failures=1
fi

# What a provider that was built before does not notice.
variant added 's/^API int version/class API More { public: int more(); };\n&/
               s/^int version/int More::more() { return 1; }\n&/
               s/^API extern/API int another();\n&/; s/^int limit/int another() { return 1; }\n&/'
expect 0 added "'function int tiny::another()'" "tiny::More::more()"
variant insides 's/Part/Piece/g; s/int number;/long number; char* name;/'
expect 0 insides

# What it does.
variant function_gone '/int version()/d'
expect 1 function_gone "[D] 'function int tiny::version()'"
variant variable_gone '/int limit/d'
expect 1 variable_gone "[D] 'int tiny::limit'"
variant method_hidden 's/    int size();/    __attribute__((visibility("hidden"))) int size();/'
expect 1 method_hidden "[D] 'method int tiny::Tiny::size()'"
variant result 's/int size()/long size()/; s/int Tiny::size()/long Tiny::size()/'
expect 1 result "'method int tiny::Tiny::size()" "'int' to 'long int'"
variant slots '/virtual int open/d; s/^    virtual int close.*/&\n    virtual int open(int mode);/'
expect 1 slots "the vtable offset of method virtual int tiny::Tiny::open(int) changed" \
    "the vtable offset of method virtual int tiny::Tiny::close(int) changed"
variant slot_added 's/^    virtual int close/    virtual int flush() { return 0; }\n&/'
expect 1 slot_added "the vtable offset of method virtual int tiny::Tiny::close(int) changed"
variant slot_gone 's/virtual int close/int close/'
expect 1 slot_gone "tiny::Tiny::close(int)"
variant field 's/^    int handle;/    int added; int more;\n&/'
expect 1 field "'int handle' offset changed"
variant grown 's/Part\* part;/& long size;/'
expect 1 grown "'int handle' offset changed"
variant foreign 's/^    Insides insides;/    std::map<int, int> more;\n&/'
expect 1 foreign "insides' offset changed" "entries' offset changed"
variant entry 's/int first;/long first;/'
expect 1 entry "'struct tiny::Entry' changed" "'unsigned int second' offset changed"
variant thrown '/^    long position;/d; s/^    int code;/    long position;\n&/
                s/code(number), position(place)/position(place), code(number)/'
expect 1 thrown "'struct tiny::Failure' changed" "'int code' offset changed"

# What cannot be compared is no success.
strip --strip-debug -o "$work/stripped.so" "$work/original.so"
expect 2 stripped "no types"
expect 2 missing
mv "$work/record" "$work/away"
expect 2 original "no such record"

exit "$failures"
