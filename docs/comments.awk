# Doxygen's filter for the headers, which are written for people: nothing in a comment is markup.
#
#   - Characters that Doxygen would take for markup are escaped, and what stands four columns in
#     is code.
#   - A comment holds for all declarations up to the next empty line, not for the first alone.
#   - Copying that is deleted or defaulted says all about itself.
#   - "  name: meaning" is an argument of the operation.
#
# The lines keep their numbers.

function escaped(text) {
    gsub(/[\\<>#@&*_~`]/, "\\\\&", text)
    return text
}

# The text of a comment's line, without the slashes and the first blank.
function said(line) {
    sub(/^ *\/\/\/ ?/, "", line)
    return line
}

# Prints the lines first to last of a comment, and keeps its text for the declarations behind.
function comment(first, last,    i, text, code, argument, out) {
    about = ""
    code = argument = 0
    for (i = first; i <= last; ++i) {
        text = said(lines[i])
        out = ""
        if (text ~ /^  \*?[a-zA-Z]+(, \*?[a-zA-Z]+)*: /) {
            argument = 1
            out = "<br>" escaped(substr(text, 3))
        } else if (argument && text ~ /^    /) {
            out = escaped(text)
        } else if (text ~ /^    / || (code && text == "" && said(lines[i + 1]) ~ /^    / && i < last)) {
            out = code ? text : "@code{.unparsed}" text
            code = 1
        } else {
            out = (code ? "@endcode " : argument && text != "" ? "<br>" : "") escaped(text)
            code = argument = 0
        }
        if (i == last && code) {
            out = out " @endcode"
        }
        print "/// " out
        about = about " " out
    }
}

{ lines[NR] = $0 }

END {
    about = ""
    complete = 0  # whether the line above ends a declaration
    for (i = 1; i <= NR; ++i) {
        line = lines[i]
        if (line ~ /^ *\/\/\/ *[^<]/ || line ~ /^ *\/\/\/$/) {
            first = i
            while (i < NR && lines[i + 1] ~ /^ *\/\/\//) {
                ++i
            }
            comment(first, i)
            complete = 0
            continue
        }
        if (line ~ /^ *$/ || line ~ /^ *(#|\/\/|\/\*|public:|protected:|private:)/) {
            about = ""
        } else if (line ~ /(= (delete|default);|operator=\()/ && line ~ /[;}]$/) {
            printf "/** As declared. */"
        } else if (complete && about != "" && line !~ /\/\/\/</) {
            printf "/**%s */", about
        }
        print line
        complete = line ~ /[;}]( *\/\/\/<.*)?$/
        if (line ~ /\{$/ || line ~ /^ *\};?$/) {
            about = ""
        }
    }
}
