# Sets each median of Google Benchmark's CSV beside that of the same name with "/floor" in it.

function shown(ns) {
    if (ns < 1000) return sprintf("%.1f ns", ns)
    if (ns < 1000000) return sprintf("%.1f µs", ns / 1000)
    return sprintf("%.1f ms", ns / 1000000)
}

BEGIN {
    limit["rebuild"] = 1.25; limit["save"] = 1.1; limit["idle frame"] = 1.5
    limit["pump, nothing waiting"] = 1.2; limit["output name"] = 1.3; limit["quote"] = 3
}

# A name with a comma in it is quoted, and split by the separator: put it together again.
{
    line = $0
    match(line, /^"[^"]*"/)
    name = substr(line, 2, RLENGTH - 2)
    split(substr(line, RLENGTH + 2), field, ",")
}
name ~ /_median$/ {
    sub(/_median$/, "", name)
    time[name] = field[3] # CPU time: what other programs take is not counted
    if (name !~ /\/floor/) order[++count] = name
}
END {
    for (i = 1; i <= count; ++i) {
        name = order[i]
        what = name
        size = ""
        if (match(name, /\/[0-9]+$/)) {
            what = substr(name, 1, RSTART - 1)
            size = substr(name, RSTART)
        }
        floor = time[what "/floor" size]
        text = what
        sub(/^\//, "", size)
        if (size != "") text = text ", " size
        printf "| %s | %s | %s | %.2f | %s |\n", text, shown(time[name]), shown(floor), time[name] / floor, limit[what]
    }
}
