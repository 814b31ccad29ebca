# Prints the using declarations and namespace aliases of sources that name what the source does not use, and each
# include of a source; ends with 1 if there is one. clang-tidy looks for these in sources that stand alone only.
# awk -f tools/unusednames.awk SOURCE...

function judge(name) {
    for (name in place) {
        if (uses[name] < 2) {
            print place[name] ": " name " is not used"
            found = 1
        }
    }
    delete place
    delete uses
}

FNR == 1 { judge() }

/^ *#include ".*\.cpp"/ {
    print FILENAME ":" FNR ": includes a source"
    found = 1
}

{
    sub("//.*", "")
    line = $0
    while (match(line, /[A-Za-z_][A-Za-z0-9_]*/)) {
        ++uses[substr(line, RSTART, RLENGTH)]
        line = substr(line, RSTART + RLENGTH)
    }
}

/^ *using [A-Za-z0-9_:]*::[A-Za-z0-9_]+;/ {
    name = $0
    sub(/;.*/, "", name)
    sub(/.*::/, "", name)
    place[name] = FILENAME ":" FNR
}

/^ *namespace [A-Za-z0-9_]+ = / { place[$2] = FILENAME ":" FNR }

END {
    judge()
    exit found
}
