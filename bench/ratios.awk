# Sets each median of Google Benchmark's CSV beside that of the same name with "/floor" in it.
#
# The first file has the names in the order in which they are shown. Ends with 1 where a time is missing,
# or where an idle frame allocates more than its floor or its allocations were not counted.

function shown(ns) {
    if (ns < 1000) return sprintf("%.1f ns", ns)
    if (ns < 1000000) return sprintf("%.1f µs", ns / 1000)
    return sprintf("%.1f ms", ns / 1000000)
}

function counted(name) { return name in allocations ? ", " allocations[name] " allocations" : "" }

BEGIN {
    limit["rebuild"] = 1.25; limit["save"] = 1.1; limit["idle frame"] = 1.5
    limit["pump, nothing waiting"] = 1.2; limit["output name"] = 1.3; limit["quote"] = 3
}

FNR == NR {
    if ($0 !~ /\/floor/) order[++count] = $0
    next
}

# A name is quoted, for it may have a comma in it.
match($0, /^"[^"]*"/) {
    name = substr($0, 2, RLENGTH - 2)
    split(substr($0, RLENGTH + 2), field, ",")
    if (sub(/_median$/, "", name)) time[name] = field[3] # CPU time: what other programs take is left out
    else if (match($0, /[0-9]+ allocations/)) allocations[name] = substr($0, RSTART) + 0
}

END {
    if (!("idle frame" in allocations && "idle frame/floor" in allocations)) {
        print "idle frame: allocations not counted" >"/dev/stderr"
        status = 1
    }
    for (i = 1; i <= count; ++i) {
        name = order[i]
        what = name
        size = ""
        if (match(name, /\/[0-9]+$/)) {
            what = substr(name, 1, RSTART - 1)
            size = substr(name, RSTART)
        }
        least = what "/floor" size
        text = what (size == "" ? "" : ", " substr(size, 2))
        if (!(time[name] > 0 && time[least] > 0)) {
            print text ": not measured" >"/dev/stderr"
            status = 1
            continue
        }
        printf "| %s | %s%s | %s%s | %.2f | %s |\n", text, shown(time[name]), counted(name),
            shown(time[least]), counted(least), time[name] / time[least], limit[what]
        if (allocations[name] > allocations[least]) {
            print text ": more allocations than its floor" >"/dev/stderr"
            status = 1
        }
    }
    exit status
}
