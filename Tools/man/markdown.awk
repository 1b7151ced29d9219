# Turns a guide in Markdown into the body of a man page.
BEGIN { print ".ad l" }
function plain(text) {
    gsub(/\\/, "\\e", text)
    gsub(/\*\*/, "", text)
    gsub(/`/, "", text)
    while (match(text, /\[[^\]]*\]\([^)]*\)/)) {
        link = substr(text, RSTART + 1, index(substr(text, RSTART), "]") - 2)
        text = substr(text, 1, RSTART - 1) link substr(text, RSTART + RLENGTH)
    }
    if (text ~ /^[.']/) {
        text = "\\&" text
    }
    return text
}
/^```/ { code = !code; print code ? ".PP\n.nf" : ".fi"; next }
code { gsub(/\\/, "\\e"); print ($0 ~ /^[.']/ ? "\\&" : "") $0; next }
/^# / { next }
/^### / { print ".SS " plain(substr($0, 5)); next }
/^## / { print ".SH " plain(toupper(substr($0, 4))); next }
/^\|-/ { next }
!/^\| / { inTable = 0 }
/^\| / && !inTable { inTable = 1; next }  # the heading of the table
/^\| / {
    count = split($0, cells, / +\| +| +\|$|^\| +/)
    print ".TP\n" plain(cells[2])
    for (i = 3; i < count; ++i) {
        print plain(cells[i])
    }
    next
}
/^- / { print ".IP \\(bu 2\n" plain(substr($0, 3)); next }
/^ *$/ { print ".PP"; next }
{ sub(/^ +/, ""); print plain($0) }
