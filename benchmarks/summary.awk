# Summarizes the samples of scripts/bench: prints tables in Markdown and writes the chart's data.
#
#   awk -v results=FOLDER -f summary.awk FOLDER/samples.csv
#
# A number in a table is the median over the repeats; in a row "lost" it is the sum over them. In
# the table "Targets" and in the columns "ratio to ...", the quartiles follow in parentheses if
# there are several repeats. A ratio is calculated for each repeat before the median is taken,
# because other work of the machine affects both values of a repeat alike.

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

# Values, Ratios and MemoryPerEndpoint fill list[1] ... list[count] with values in ascending order.
# Add inserts one value. Other functions read this list.
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

# Returns the median and the quartiles of the list as text for a table: only the value if there is
# just one, a dash if there is none.
function Spread() {
    if (count == 0)
        return "–"
    if (count == 1)
        return Digits(list[1])
    return Digits(Quantile(0.5)) " (" Digits(Quantile(0.25)) ".." Digits(Quantile(0.75)) ")"
}

# Prints the head of a table; `columns` is "NAME | NAME ...". If the title is not empty, prints it
# as a heading before the table.
function Head(title, columns,    rule) {
    rule = columns
    gsub(/[^|]+/, "---", rule)
    print "\n" (title == "" ? "" : "## " title "\n\n") "| " columns " |\n|" rule "|"
}

# Prints the row of a target: the list's median and quartiles, the limit and the goal, and which of
# these two the median meets. Prints nothing if the list is empty.
function Target(figure, limit, goal,    median) {
    if (count == 0)
        return
    median = Digits(Quantile(0.5)) + 0 # as printed in the row: "1.00" must meet a goal of 1
    print "| " figure " | " Spread() " | " limit " | " goal " | " \
        (median <= goal ? "goal met" : median <= limit ? "within the limit" : "missed") " |"
}

function RatioTarget(text, limit, goal, benchmark, kase, figure, subject, base) {
    Ratios(benchmark, kase, figure, subject, base)
    Target(text, limit, goal)
}

function PrintTargets() {
    Head("Targets", "figure | measured | limit | goal | result")
    RatioTarget("CPU per answered Probe, 32 in flight, relative to the floor", 4.8, 3.5,
        "answering", "closed-32", "cpu_us", "plugin", "floor")
    RatioTarget("p50 round trip, 1 in flight, relative to the floor", 2.2, 1.8,
        "answering", "closed-1", "p50_us", "plugin", "floor")
    RatioTarget("CPU per foreign Probe, 5,000/s, relative to receiving alone", 2, 1.5,
        "answering", "foreign-5000", "cpu_us", "plugin", "drop")
    RatioTarget("CPU per foreign Probe, flood, relative to receiving alone", 2, 1.5,
        "answering", "foreign-flood", "cpu_us", "plugin", "drop")
    RatioTarget("CPU per Hello, 5,000/s, relative to receiving alone", 2, 1.5,
        "answering", "hello-5000", "cpu_us", "plugin", "drop")
    RatioTarget("CPU per Hello, flood, relative to receiving alone", 2, 1.5,
        "answering", "hello-flood", "cpu_us", "plugin", "drop")
    RatioTarget("system calls per answer, relative to Asio's echo", 1, 1,
        "answering", "closed-1", "calls", "plugin", "echo")
    RatioTarget("CPU per answer, 256 adapters relative to 1", 1.1, 1,
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

function Median() { return count ? Digits(Quantile(0.5)) : "–" }

# Prints the row of one figure under one load: the median of each server; after the plug-in's, also
# the plug-in's ratio to the first server. Prints nothing if no server has a value.
function PrintAnsweringRow(title, figure, load, servers, servers_count,    row, server, any) {
    row = "| " title " | " (load == "memory" ? "–" : load)
    for (server = 1; server <= servers_count; ++server) {
        any += Values("answering", load, figure, servers[server])
        row = row " | " Median()
        if (servers[server] == "plugin") {
            Ratios("answering", load, figure, "plugin", servers[1])
            row = row " | " Spread()
        }
    }
    if (any)
        print row " |"
}

# Prints the row "lost": how many Probes each server did not answer in time under a load, in all
# repeats together. Prints nothing if there was none.
function PrintLost(load, servers, servers_count,    row, server, lost, sum) {
    row = "| lost | " load
    for (server = 1; server <= servers_count; ++server) {
        lost = 0
        for (Values("answering", load, "lost", servers[server]); count > 0; --count)
            lost += list[count]
        sum += lost
        row = row " | " lost (servers[server] == "plugin" ? " | –" : "")
    }
    if (sum > 0)
        print row " |"
}

# Prints the head of a table with the columns of PrintAnsweringRow.
function AnsweringHead(title, servers, servers_count,    columns, server) {
    columns = "figure | load"
    for (server = 1; server <= servers_count; ++server)
        columns = columns " | " servers[server] \
            (servers[server] == "plugin" ? " | ratio to " servers[1] : "")
    Head(title, columns)
}

function PrintFigure(title, figure, loads,    number) {
    for (number = 1; number <= case_count["answering"]; ++number)
        if (cases["answering", number] ~ loads)
            PrintAnsweringRow(title, figure, cases["answering", number], answering, answering_count)
}

function PrintAnswering(    number, silent) {
    answering[answering_count = 1] = "floor"
    for (number = 1; number <= subject_count["answering"]; ++number)
        if (subjects["answering", number] !~ /^(floor|drop)$/)
            answering[++answering_count] = subjects["answering", number]
    AnsweringHead("Answering", answering, answering_count)
    PrintFigure("CPU each, µs", "cpu_us", "^(closed|rate)")
    PrintFigure("answers/s", "rate", "^closed")
    PrintFigure("p50, µs", "p50_us", "^(closed|rate)")
    for (number = 1; number <= case_count["answering"]; ++number)
        if (cases["answering", number] ~ /^(closed|rate)/)
            PrintLost(cases["answering", number], answering, answering_count)
    PrintFigure("system calls per answer", "calls", "^closed-1$")
    PrintFigure("resident memory, KiB", "rss_kib", "^memory$")

    split("drop plugin", silent, " ")
    AnsweringHead("", silent, 2)
    for (number = 1; number <= case_count["answering"]; ++number)
        if (cases["answering", number] ~ /^(foreign|hello)/)
            PrintAnsweringRow("CPU each, µs", "cpu_us", cases["answering", number], silent, 2)
}

function PrintAdapters(    number, field, figures, row) {
    Head("Adapters", "adapters | document to last Hello, ms | Close to return, ms | " \
        "CPU µs per answer | resident memory, KiB")
    split("start_ms close_ms cpu_us rss_kib", figures, " ")
    for (number = 1; number <= subject_count["scaling"]; ++number) {
        row = "| " subjects["scaling", number]
        for (field = 1; field <= 4; ++field) {
            Values("scaling", "adapters", figures[field], subjects["scaling", number])
            row = row " | " Median()
        }
        print row " |"
    }
}

function PrintParts(    part) {
    Head("Parts", "part | CPU ns")
    for (part = 1; part <= case_count["codec"]; ++part) {
        Values("codec", cases["codec", part], "cpu_ns", "plugin")
        print "| " cases["codec", part] " | " Median() " |"
    }
}

# Returns the median and the quartiles of the list as three columns for gnuplot.
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
