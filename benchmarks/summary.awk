# Sums up the samples of scripts/bench: prints tables in Markdown and writes the chart's data.
#
#   awk -v results=FOLDER -f summary.awk FOLDER/samples.csv
#
# A value is the median over the repeats, with the quartiles in parentheses. A ratio is taken
# between two values of the same repeat, before the median: what else the machine did affected both.

BEGIN { FS = "," }

{
    if (!(($1, "case", $4) in known)) {
        known[$1, "case", $4] = 1
        cases[$1, ++case_count[$1]] = $4
    }
    if (!(($1, "subject", $3) in known)) {
        known[$1, "subject", $3] = 1
        subjects[$1, ++subject_count[$1]] = $3
    }
    sample[$1, $4, $5, $3, $2] = $6
    if ($2 > max_repeat)
        max_repeat = $2
}

# What the functions below collect is in list[1] ... list[count], sorted.
function Add(value,    place) {
    for (place = ++count; place > 1 && list[place - 1] > value; --place)
        list[place] = list[place - 1]
    list[place] = value + 0
}

function Values(benchmark, kase, figure, subject,    repeat) {
    count = 0
    for (repeat = 0; repeat <= max_repeat; ++repeat)
        if ((benchmark, kase, figure, subject, repeat) in sample)
            Add(sample[benchmark, kase, figure, subject, repeat])
    return count
}

function Ratios(benchmark, kase, figure, subject, base,    repeat) {
    count = 0
    for (repeat = 0; repeat <= max_repeat; ++repeat)
        if ((benchmark, kase, figure, subject, repeat) in sample &&
            (benchmark, kase, figure, base, repeat) in sample &&
            sample[benchmark, kase, figure, base, repeat] > 0)
            Add(sample[benchmark, kase, figure, subject, repeat] / \
                sample[benchmark, kase, figure, base, repeat])
}

function MemoryPerEndpoint(    repeat) {
    count = 0
    for (repeat = 0; repeat <= max_repeat; ++repeat)
        if (("scaling", "adapters", "rss_kib", 256, repeat) in sample)
            Add((sample["scaling", "adapters", "rss_kib", 256, repeat] - \
                sample["scaling", "adapters", "rss_kib", 1, repeat]) / 255)
}

function Quantile(share,    place, low) {
    place = share * (count - 1)
    low = int(place)
    return list[low + 1] + (place - low) * (list[low + 1 < count ? low + 2 : count] - list[low + 1])
}

function Digits(value) {
    return sprintf(value >= 100 || value == 0 ? "%.0f" : value >= 10 ? "%.1f" : "%.2f", value)
}

# The cell of a table for the list.
function Spread() {
    if (count == 0)
        return "–"
    if (count == 1)
        return Digits(list[1])
    return Digits(Quantile(0.5)) " (" Digits(Quantile(0.25)) ".." Digits(Quantile(0.75)) ")"
}

# Begins a table, below a heading unless the title is empty.
function Head(title, columns,    rule) {
    rule = columns
    gsub(/[^|]+/, " --- ", rule)
    print "\n" (title == "" ? "" : "## " title "\n\n") "| " columns " |\n|" rule "|"
}

# A target for the median of the list.
function Target(figure, reach, aim,    median) {
    if (count == 0)
        return
    median = Digits(Quantile(0.5)) + 0 # as printed
    print "| " figure " | " Spread() " | " reach " | " aim " | " \
        (median <= aim ? "aim met" : median <= reach ? "reached" : "missed") " |"
}

function RatioTarget(text, reach, aim, benchmark, kase, figure, subject, base) {
    Ratios(benchmark, kase, figure, subject, base)
    Target(text, reach, aim)
}

function PrintTargets() {
    Head("Targets", "figure | measured | reach | aim | result")
    RatioTarget("CPU per answered Probe, 32 in flight, to the floor", 4.8, 3.5,
        "answering", "closed-32", "cpu_us", "plugin", "floor")
    RatioTarget("p50 round trip, 1 in flight, to the floor", 2.2, 1.8,
        "answering", "closed-1", "p50_us", "plugin", "floor")
    RatioTarget("CPU per foreign Probe, 5,000/s, to receiving alone", 2, 1.5,
        "answering", "foreign-5000", "cpu_us", "plugin", "drop")
    RatioTarget("CPU per foreign Probe, flood, to receiving alone", 2, 1.5,
        "answering", "foreign-flood", "cpu_us", "plugin", "drop")
    RatioTarget("CPU per Hello, 5,000/s, to receiving alone", 2, 1.5,
        "answering", "hello-5000", "cpu_us", "plugin", "drop")
    RatioTarget("CPU per Hello, flood, to receiving alone", 2, 1.5,
        "answering", "hello-flood", "cpu_us", "plugin", "drop")
    RatioTarget("system calls per answer, to Asio's echo", 1, 1,
        "answering", "closed-1", "calls", "plugin", "echo")
    RatioTarget("CPU per answer, 256 adapters to 1", 1.1, 1,
        "scaling", "adapters", "cpu_us", 256, 1)
    Values("scaling", "adapters", "start_ms", 256)
    Target("document to last Hello, 256 adapters, ms", 256, 128)
    Values("scaling", "adapters", "close_ms", 256)
    Target("Close to return, 256 adapters, ms", 500, 250)
    MemoryPerEndpoint()
    Target("memory per endpoint, KiB", 24, 12)
    Values("scaling", "adapters", "idle_calls", 256)
    Target("system calls of the plug-in's threads while idle", 0, 0)
}

# The row of a server under a load: values, and ratios to the base.
function PrintAnsweringRow(load, server, base,    row, field, figures, lost) {
    if (!Values("answering", load, "cpu_us", server))
        return
    row = "| " load " | " server
    split("cpu_us rate p50_us p99_us", figures, " ")
    for (field = 1; field <= 4; ++field) {
        Values("answering", load, figures[field], server)
        row = row " | " Spread()
        Ratios("answering", load, figures[field], server, base)
        row = row " | " Spread()
    }
    for (Values("answering", load, "lost", server); count > 0; --count)
        lost += list[count]
    print row " | " lost + 0 " |"
}

function PrintAnswering(    load, base, kase, server) {
    Head("Answering", "load | server | CPU µs each | ratio | answers/s | ratio | p50 µs | " \
        "ratio | p99 µs | ratio | lost")
    for (kase = 1; kase <= case_count["answering"]; ++kase) {
        load = cases["answering", kase]
        base = load ~ /^(foreign|hello)/ ? "drop" : "floor"
        PrintAnsweringRow(load, base, base)
        for (server = 1; server <= subject_count["answering"]; ++server)
            if (subjects["answering", server] != base)
                PrintAnsweringRow(load, subjects["answering", server], base)
    }
    Head("", "server | resident memory, KiB | ratio | system calls per answer")
    for (server = 1; server <= subject_count["answering"]; ++server)
        PrintMemoryRow(subjects["answering", server])
}

function PrintMemoryRow(server,    row) {
    if (!Values("answering", "memory", "rss_kib", server))
        return
    row = "| " server " | " Spread()
    Ratios("answering", "memory", "rss_kib", server, "floor")
    row = row " | " Spread()
    Values("answering", "closed-1", "calls", server)
    print row " | " Spread() " |"
}

function PrintAdapters(    number, field, figures, row) {
    Head("Adapters", "adapters | document to last Hello, ms | Close to return, ms | " \
        "CPU µs per answer | resident memory, KiB")
    split("start_ms close_ms cpu_us rss_kib", figures, " ")
    for (number = 1; number <= subject_count["scaling"]; ++number) {
        row = "| " subjects["scaling", number]
        for (field = 1; field <= 4; ++field) {
            Values("scaling", "adapters", figures[field], subjects["scaling", number])
            row = row " | " Spread()
        }
        print row " |"
    }
}

function PrintParts(    part) {
    Head("Parts", "part | CPU ns")
    for (part = 1; part <= case_count["codec"]; ++part) {
        Values("codec", cases["codec", part], "cpu_ns", "plugin")
        print "| " cases["codec", part] " | " Spread() " |"
    }
}

# Median and quartiles of the list, for gnuplot.
function Points() {
    return count ? " " Quantile(0.5) " " Quantile(0.25) " " Quantile(0.75) : " NaN NaN NaN"
}

function WriteAnswering(figure,    kase, load, row, server, servers) {
    split("floor echo plugin", servers, " ")
    for (kase = 1; kase <= case_count["answering"]; ++kase) {
        row = load = cases["answering", kase]
        if (load !~ /^(closed|rate)/)
            continue
        for (server = 1; server <= 3; ++server) {
            Values("answering", load, figure, servers[server])
            row = row Points()
        }
        print row >(results "/answering-" figure ".dat")
    }
}

function WriteAdapters(    number, adapters, field, figures, row) {
    split("start_ms close_ms cpu_us", figures, " ")
    for (number = 1; number <= subject_count["scaling"]; ++number) {
        row = adapters = subjects["scaling", number]
        for (field = 1; field <= 3; ++field) {
            Values("scaling", "adapters", figures[field], adapters)
            row = row Points()
        }
        print row >(results "/adapters.dat")
    }
}

END {
    PrintTargets()
    PrintAnswering()
    PrintAdapters()
    PrintParts()
    WriteAnswering("cpu_us")
    WriteAnswering("p50_us")
    WriteAdapters()
}
