# Makes a page of each operation from the comments of the headers, and an index of them:
#
#   awk -v out=FOLDER -f docs/operations.awk RULES include/kzfi_framework.h \
#       include/cfipluginbase.h include/cfiplugininterposer.h
#
# RULES is what `kzfi-simhost check --list` prints. The form of the comments is told in
# CFiPluginBase's own; what does not keep to it ends this with an error.

function fail(why) {
    print FILENAME ":" FNR ": " why > "/dev/stderr"
    failed = 1
}

function trimmed(text) {
    sub(/^ +/, "", text)
    sub(/ +$/, "", text)
    return text
}

# As Markdown: nothing in it is markup, and names of numbers tell the number.
function plain(text,    result, name) {
    gsub(/[\\*_<>|#`]/, "\\\\&", text)
    result = ""
    while (match(text, /KZFI(\\_[A-Z]+)+/)) {
        name = substr(text, RSTART, RLENGTH)
        result = result substr(text, 1, RSTART + RLENGTH - 1)
        text = substr(text, RSTART + RLENGTH)
        gsub(/\\/, "", name)
        if (name in number) {
            result = result " (" number[name] ")"
        }
    }
    return result text
}

# As the beginning of a sentence, unless it is a name.
function capital(text) {
    return text ~ /^[a-z]+[ ,.;:]/ ? toupper(substr(text, 1, 1)) substr(text, 2) : text
}

# ---- What the comment of an operation says

function forget() {
    said = codeText = lastArgument = ""
    inComment = 0
    split("", meaning)
}

function hear(text,    names, n, i) {
    inComment = 1
    if (text ~ /^  \*?[a-zA-Z]+(, \*?[a-zA-Z]+)*: /) {
        lastArgument = trimmed(substr(text, 1, index(text, ":") - 1))
        n = split(lastArgument, names, ", ")
        for (i = 1; i <= n; ++i) {
            meaning[names[i]] = trimmed(substr(text, index(text, ":") + 1))
        }
    } else if (lastArgument != "" && text ~ /^    /) {
        n = split(lastArgument, names, ", ")
        for (i = 1; i <= n; ++i) {
            meaning[names[i]] = meaning[names[i]] " " trimmed(text)
        }
    } else if (text ~ /^    /) {
        codeText = codeText substr(text, 5) "\n"
    } else {
        lastArgument = ""
        said = trimmed(said " " trimmed(text))
    }
}

# ---- One page

# What an argument means: told by the operation itself, or the same everywhere.
function meaningOf(name, type) {
    if (type ~ /\*/ && ("*" name) in meaning) {
        return meaning["*" name]
    }
    if (name in meaning) {
        return meaning[name]
    }
    return type ~ /\*/ && ("*" name) in everywhere ? everywhere["*" name] : everywhere[name]
}

function ownerOf(name, type) {
    if (type !~ /\*/ || type ~ /&/) {
        return type ~ /&/ ? "the framework" : "a value"
    }
    if (!(("*" name) in meaning) && (name in meaning || !(("*" name) in everywhere))) {
        return "the framework"
    }
    if (("*" name) in meaning && meaning["*" name] ~ /stays|belongs to|handed out/) {
        return "as told"
    }
    if (meaning["*" name] ~ /^not written/) {
        return "the framework"
    }
    return type ~ /^(int|long|void)\*$/ ? "the framework; the provider writes it" : \
           type ~ /^kzfi_objid\*\*$/ ? "the id stays the framework's" : \
           "the framework, from `kzfi_alloc_buf`"
}

function argumentsOf(parameters, page,    list, n, i, type, name, what) {
    n = parameters == "" ? 0 : split(parameters, list, ", *")
    if (n == 0) {
        print "None." > page
        return
    }
    print "| argument | type | meaning | owner |\n|---|---|---|---|" > page
    for (i = 1; i <= n; ++i) {
        name = list[i]
        sub(/^.*[ *&]/, "", name)
        type = trimmed(substr(list[i], 1, length(list[i]) - length(name)))
        what = meaningOf(name, type)
        if (what == "") {
            fail("nobody says what '" name "' of " operation " means")
        }
        print "| `" name "` | `" type "` | " plain(what) " | " ownerOf(name, type) " |" > page
    }
}

function statusesOf(result, answers, page) {
    if (answers != "") {
        print plain(answers) "\n" > page
    }
    if (result == "int" && answers ~ /(^|[^A-Z_])0([^0-9]|$)|_NONE/) {
        # 0 means something else here, or is told already.
        print "Beside these: " plain(substr(statuses, index(statuses, ", ") + 2)) > page
    } else if (result == "int") {
        print (answers != "" ? "Beside these: " : "") plain(statuses) > page
    } else if (result == "void") {
        print "It answers nothing." > page
    }
}

# What the default does, with its status.
function defaultOf(result, text) {
    if (result == "int" && text == "does nothing.") {
        return "does nothing: KZFI_OK, arguments untouched."
    }
    if (result == "int" && sub(/^does nothing; /, "does nothing: KZFI_OK, ", text)) {
        return text
    }
    if (result == "int" && text !~ /KZFI_(OK|ERR_|CLAIM_|INTERPOSE_)|[Aa]lways 0|^0|^all of this/) {
        return text " Answers KZFI_OK."
    }
    return text
}

# The rules of the checker that name the operation or are about its family, and where those of all
# operations stand.
function rulesOf(page,    i, family) {
    print "What it expects of [every operation](README.md#what-the-checker-expects-of-all)." > page
    for (i = 1; i <= ruleCount; ++i) {
        family = substr(ruleName[i], 1, index(ruleName[i], ".") - 1)
        if ((" " about[family] " ") ~ (" " operation " ") || \
            (" " rule[i] " ") ~ ("[^A-Za-z]" operation "[^A-Za-z]")) {
            print "\n- `" ruleName[i] "`: " plain(rule[i]) > page
            shown[i] = 1
        }
    }
}

function writePage(result, parameters,    page, at, before, answers, usual) {
    page = out "/" operation ".md"
    at = index(said, "Default: ")
    if (at == 0) {
        fail(operation " does not say its default")
    }
    usual = substr(said, at + 9)
    before = substr(said, 1, at - 1)
    answers = ""
    if (match(before, /(^|\. )Answers /)) {
        answers = trimmed(substr(before, RSTART == 1 ? 1 : RSTART + 2))
        before = substr(before, 1, RSTART == 1 ? 0 : RSTART)
    }
    print "# " operation "\n\nOperation " ++count " of `CFiPluginBase`.\n" > page
    print "```cpp\nvirtual " result " " operation "(" parameters ");\n```\n" > page
    print "## When it is called\n\n" plain(trimmed(before)) "\n\n## Arguments\n" > page
    argumentsOf(parameters, page)
    print "\n## Statuses\n" > page
    statusesOf(result, answers, page)
    print "\n## Default\n\n" plain(capital(defaultOf(result, usual))) > page
    if (codeText != "") {
        print "\n```text\n" codeText "```" > page
    }
    print "\n## What the checker expects\n" > page
    rulesOf(page)
    close(page)
    order[count] = operation
    summary[operation] = before
    sub(/\. .*/, ".", summary[operation])
}

# ---- The lists before the operations

# The operations that a family of rules is about; the other families are about all.
BEGIN {
    about["claim"] = "claim"
    about["config"] = "config"
    about["errors"] = "errMsg getLastError delLastError getLocaleMessage delLocaleMessage"
    about["nodes"] = "initNode deInitNode"
    about["snapshot"] = "select prepare make restore resync dispose"
}

FNR == 1 { ++file }

file == 1 {
    ruleName[++ruleCount] = $1
    rule[ruleCount] = trimmed(substr($0, length($1) + 1))
    next
}

file == 2 {
    if (match($0, /KZFI_[A-Z_]+ = [0-9xA-F]+/)) {
        split(substr($0, RSTART, RLENGTH), pair, " = ")
        number[pair[1]] = pair[2]
    }
    next
}

/^\/\/\/ Results are statuses: / { part = "statuses" }
/^\/\/\/ Arguments that mean the same everywhere:/ { part = "everywhere"; next }
/^\/\/\/ Ownership:/ { part = "ownership" }
/^\/\/\/ Errors:/ { part = "" }
/^class / { part = "" }
file == 3 && part == "statuses" {
    if ($0 == "///") {
        sub(/^Results are statuses: /, "", statuses)
        sub(/ Which default .*/, "", statuses)
        part = ""
    }
    statuses = trimmed(statuses " " trimmed(substr($0, 4)))
}
file == 3 && part == "everywhere" && /^\/\/\/     [a-z*]/ {
    text = trimmed(substr($0, 4))
    match(text, /  +/)
    n = split(substr(text, 1, RSTART - 1), names, ", ")
    for (i = 1; i <= n; ++i) {
        everywhere[names[i]] = trimmed(substr(text, RSTART + RLENGTH))
    }
}
file == 3 && part == "ownership" {
    ownership = trimmed(ownership " " trimmed(substr($0, 4)))
}

# ---- The operations

file == 3 && /---- The framework's operations\./ { inside = 1; forget(); next }
/---- Not an operation of the framework/ { inside = 0 }
/^class .* CFiPluginInterposer / { inside = 2; forget() }
/---- Operations that the interposer adds\./ { inside = 0 }

inside && /^ *\/\/\/ ?/ {
    text = $0
    sub(/^ *\/\/\/ ?/, "", text)
    hear(text)
    next
}
inside && (/^ *$/ || /^ *\/\//) { declaration = ""; forget(); next }
inside {
    declaration = trimmed(declaration " " trimmed($0))
    if (declaration !~ /;$/) {
        next
    }
    if (inside == 1 && match(declaration, /^virtual [A-Za-z]+[ *]+[a-zA-Z]+\(/)) {
        operation = substr(declaration, 1, RLENGTH - 1)
        sub(/^.*[ *]/, "", operation)
        result = trimmed(substr(declaration, 9, RLENGTH - 9 - length(operation)))
        parameters = substr(declaration, RLENGTH + 1)
        sub(/\);$/, "", parameters)
        if (!inComment) {
            fail(operation " has no comment of its own")
        }
        writePage(result, parameters)
    } else if (inside == 2 && match(declaration, /^[a-z]+ [a-zA-Z]+\(.*\) override;$/)) {
        operation = substr(declaration, index(declaration, " ") + 1)
        sub(/\(.*/, "", operation)
        if (operation in summary) {
            print "\n## In a router\n\n`CFiPluginInterposer` brings its own: " plain(said) >> \
                (out "/" operation ".md")
            close(out "/" operation ".md")
        }
    }
    declaration = ""
    forget()
}

END {
    index_ = out "/README.md"
    print "# The operations of a provider\n" > index_
    print "Made from the comments in `include/cfipluginbase.h`, in the order of the interface.\n" > index_
    print "| | operation | |\n|---|---|---|" > index_
    for (i = 1; i <= count; ++i) {
        print "| " i " | [" order[i] "](" order[i] ".md) | " plain(summary[order[i]]) " |" > index_
    }
    sub(/^Ownership: /, "", ownership)
    print "\n## Who owns what\n\n" plain(capital(ownership)) > index_
    print "\n## What the checker expects of all\n" > index_
    for (i = 1; i <= ruleCount; ++i) {
        # And what no page tells, but for what comes before any operation.
        if (ruleName[i] ~ /^(operations|watch)\.|^life\.(before|after)_/ || \
            (!(i in shown) && ruleName[i] !~ /^load\./)) {
            print "- `" ruleName[i] "`: " plain(rule[i]) > index_
        }
    }
    exit failed
}
