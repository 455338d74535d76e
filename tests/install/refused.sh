#!/bin/sh
# refused.sh CMAKE MODULES WORK: what the functions that the kit gives to projects answer to calls that
# cannot be right; MODULES is the folder that they are in.
set -eu
cmake=$1 modules=$2 work=$3

rm -rf "$work"
mkdir -p "$work/messages"
echo 'int unused;' >"$work/acme.cpp"
touch "$work/acme.yaml"
touch "$work/messages/root.txt"

failures=0
# refuses MESSAGE CALL...: a project with these calls is refused with this message.
refuses() {
    message=$1
    shift
    cat >"$work/CMakeLists.txt" <<PROJECT
cmake_minimum_required(VERSION 3.25)
project(refused LANGUAGES CXX)
enable_testing()
include("$modules/KzfiProviders.cmake")
$SIMHOST
$(printf '%s\n' "$@")
PROJECT
    if "$cmake" -S "$work" -B "$work/build" >"$work/out" 2>&1; then
        echo "FAILED  not refused: $*"
        failures=1
    fi
    # CMake breaks lines between words.
    said=$(sed -n '/^CMake Error/,/^Call Stack/p' "$work/out" | sed '1d;$d' | tr -s ' \n' ' ')
    if [ "$said" != " $message " ]; then
        echo "FAILED  $*"
        echo "        $said"
        echo "        instead of $message"
        failures=1
    fi
}

provider='kzfi_add_provider(acme SOURCES acme.cpp)'
SIMHOST='add_executable(kzfi::simhost IMPORTED)'

# ---- kzfi_add_provider
refuses "kzfi_add_provider(acme): SOURCES <file>... is missing" 'kzfi_add_provider(acme)'
refuses "kzfi_add_provider(acme): SOURCES <file>... is missing" \
    'kzfi_add_provider(acme SOURCES MESSAGES messages/root.txt)'
refuses "kzfi_add_provider(acme): unknown arguments: acme.cpp STATIC" \
    'kzfi_add_provider(acme acme.cpp STATIC SOURCES acme.cpp)'
refuses "kzfi_add_catalog(acme): there is no file $work/messages/fr.txt" \
    'kzfi_add_provider(acme SOURCES acme.cpp MESSAGES messages/root.txt messages/fr.txt)'
refuses "kzfi_add_catalog(acme): there is no file $work/messages" \
    'kzfi_add_provider(acme SOURCES acme.cpp MESSAGES messages)'
refuses "kzfi_add_provider(acme): there is a target of that name already, of $work" \
    "$provider" "$provider"
for name in '' 'a b' 'a/b' '../a' 'a;b' 'a:b' 'a=b' 'für' '-a' '.a' '+a'; do
    refuses "kzfi_add_provider($name): '$name' is no name for a provider: only letters, digits, '_', \
'-', '.' and '+' may be in it, and not the last three in front" \
        "kzfi_add_provider(\"$name\" SOURCES acme.cpp)"
done

# ---- kzfi_add_provider_tests
refuses "kzfi_add_provider_tests(acme): there is no such provider; kzfi_add_provider() makes it" \
    'kzfi_add_provider_tests(acme SCENARIOS acme.yaml)'
refuses "kzfi_add_provider_tests(): there is no such provider; kzfi_add_provider() makes it" \
    'kzfi_add_provider_tests("" SCENARIOS acme.yaml)'
refuses "kzfi_add_provider_tests(acme): SCENARIOS <file>... is missing" "$provider" \
    'kzfi_add_provider_tests(acme CHECK_CONFIG acme.yaml)'
refuses "kzfi_add_provider_tests(acme): unknown arguments: acme.yaml" "$provider" \
    'kzfi_add_provider_tests(acme acme.yaml)'
refuses "kzfi_add_provider_tests(acme): there is no file $work/none.yaml" "$provider" \
    'kzfi_add_provider_tests(acme SCENARIOS acme.yaml none.yaml)'
refuses "kzfi_add_provider_tests(acme): there is no file $work/check.yaml" "$provider" \
    'kzfi_add_provider_tests(acme SCENARIOS acme.yaml CHECK_CONFIG check.yaml)'
SIMHOST=
refuses "kzfi_add_provider_tests(acme): there is no kzfi-simhost (package kzfi-simhost)" "$provider" \
    'kzfi_add_provider_tests(acme SCENARIOS acme.yaml)'

# ---- kzfi_add_catalog
refuses "kzfi_add_catalog(acme): OUTPUT_DIR is missing" "$provider" \
    'kzfi_add_catalog(acme NAME acme SOURCES messages/root.txt)'

exit "$failures"
