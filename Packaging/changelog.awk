# Makes Debian's changelog of the newest section of CHANGELOG.md: each of its points becomes one, and so does the
# paragraph where a section has none. Variables: version, maintainer, date.
function put_point(    words, count, index_, line)
{
    count = split(point, words, " ")
    line = "  *"
    for (index_ = 1; index_ <= count; ++index_) {
        if (length(line " " words[index_]) > 79) {
            print line
            line = "   "
        }
        line = line " " words[index_]
    }
    if (count > 0) {
        print line
        ++points
    }
    point = ""
}

BEGIN { printf "ravik (%s) unstable; urgency=medium\n\n", version }
/^## / { if (++sections > 1) exit }
sections != 1 { next }
/^#/ || /^$/ { put_point(); next }
/^- / { put_point(); sub(/^- /, "") }
{ point = point " " $0 }
END {
    put_point()
    if (points == 0) {
        print "no point of the changelog was understood" >"/dev/stderr"
        exit 1
    }
    printf "\n -- %s  %s\n", maintainer, date
}
