# A header as Doxygen should read it, with the same lines: every header is documented, by the comment before its
# namespace if there is one, and specialisations of templates of the standard library are not.

{
    line[NR] = $0
}

END {
    for (i = 1; i <= NR; ++i) {
        if (line[i] == "" && line[i + 1] ~ /^\/\/\//) {
            for (end = i + 1; line[end] ~ /^\/\/\//; ++end) {
            }
            if (line[end] ~ /^namespace/) {
                line[i] = "/// @file"
            }
        }
        sub(/^\/\/ NOLINTBEGIN.*names of the standard library$/, "/// @cond", line[i])
        if (is_hidden && line[i] ~ /^\/\/ NOLINTEND/) {
            line[i] = "/// @endcond"
        }
        is_hidden = is_hidden ? line[i] != "/// @endcond" : line[i] == "/// @cond"
        print (i == 1 ? "/** @file */ " : "") line[i]
    }
}
