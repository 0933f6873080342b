# Checks a soak of the plug-in: reads its log and records, writes the samples and prints a summary.
# Exit status 1 if a check fails.
#
#   awk -v steady=ADDRESS -v samples=FILE -f report.awk HOST-LOG PROBES UNANSWERABLE
#
# HOST-LOG is the log of pelorin-soak, with an additional line for each change of an adapter. PROBES
# and UNANSWERABLE are records of pelorin-load: Probes for recorders, and messages that must not be
# answered. ADDRESS is the address of the steady adapter, the only one that never changes. FILE gets
# the samples, a line for each second. A life of the plug-in is the time from Load to Unload.

BEGIN {
    margin = 0.25 # s; near a start or stop of the steady adapter's endpoint, no answer is required
    max_silence = 60 # s between two states in the log; the host prints one each second
    long_life = 3 # s; in a longer life at least one Probe must be answered
    min_share = 0.99 # of the Probes that must be answered; a few may be lost

    # How many more descriptors and threads a life may have than there were after the first life:
    # three descriptors of the I/O service, one socket for each adapter, and those with which the
    # host watches and reads the adapters; the thread lent to the plug-in, the plug-in's I/O thread,
    # and one that sends a burst.
    max_more["descriptors"] = 12
    max_more["threads"] = 3

    # Allowed growth in bytes: the minimum of the last quarter of the samples minus the minimum of
    # the second quarter. "Gone" samples follow each unloading: only memory of pelorin-soak itself
    # is left, so little may differ. "Running" samples are those of the last life, whose heap
    # depends on the number of adapters. Resident memory may grow more, because the allocator may
    # keep the memory of a huge document.
    max_growth["Gone", "heap"] = 1024
    max_growth["Running", "heap"] = 65536
    max_growth["Gone", "resident"] = max_growth["Running", "resident"] = 3 * 1048576
}

# The next two rules convert times of day to seconds that continue to grow after midnight. A step
# back by more than half a day (43200 s) means midnight; a smaller one, two lines in wrong order.
# Each file sets `now` back to `start`, the time of the very first line, because all files begin at
# about the same time.
FNR == 1 {
    ++file
    now = start
}

{
    split($1, clock, ":")
    time = clock[1] * 3600 + clock[2] * 60 + clock[3]
    while (time < now - 43200)
        time += 86400
    now = time
    if (NR == 1)
        start = last_state = now
}

file == 1 {
    text = substr($0, match($0, / [^ ]+ +/) + RLENGTH)
    end = now
}
file == 1 && $2 == "adapter" { ++adapter_events }
file == 1 && text ~ /^Handing over / { documents += $6 == "burst" ? $8 : 1 }
file == 1 && text ~ /^Loaded module/ { life_start[++lives] = now }
file == 1 && text == "Unloaded" { life_end[lives] = now }
file == 1 && text ~ /^Joined multicast group/ && $NF == steady && !is_up {
    up_from[++ups] = now
    is_up = 1
}
file == 1 && (text == "Closing" || text ~ /^Stopping discovery operations/) && is_up {
    up_to[ups] = now
    is_up = 0
}
file == 1 && text ~ /^(Running|Gone): / {
    if (now - last_state > max_silence)
        Fault("no state for more than " max_silence " s: the host hung")
    last_state = now
    when = substr($3, 1, length($3) - 1)
    if (when == "Running" && running_life != lives) {
        running_life = lives # keep the samples of the last life only: its growth is checked
        count["Running"] = 0
    }
    entry = ++count[when]
    second = int(now - start)
    row = lives
    for (field = 4; field < NF; field += 2) {
        value = $(field + 1) + 0
        state[when, entry, $field] = value
        row = row "," value
        if (when == "Running")
            most_running[$field] = Max(most_running[$field], value)
    }
    sampled[second] = row
}

file == 2 {
    ++probes
    answers += NF - 1
    answered = index($0 " ", " " steady " ") > 0
    second = int(now - start)
    ++sent[second]
    sent_answered[second] += answered
    # An answer of the steady adapter is required only if its endpoint was up from `margin` seconds
    # before the Probe until `margin` seconds after it.
    while (up < ups && up_from[up + 1] + margin <= now)
        ++up
    if (up == 0 || now < up_from[up] + margin || now > (up in up_to ? up_to[up] : end) - margin)
        next
    while (life < lives && life_start[life + 1] <= now)
        ++life
    ++due
    due_answered += answered
    life_answered[life] += answered
}

file == 3 {
    ++unanswerable
    if (NF > 1)
        Fault("an answer to what must not be answered: " $0)
}

function Max(first, second) { return first > second ? first : second }

function Fault(text) { faults[++fault_count] = text }

# Returns the minimum of a figure, such as "heap", in one quarter of the samples: 0 is the first.
function MinInQuarter(when, figure, quarter,    size, number, min) {
    size = int(count[when] / 4)
    number = quarter == 3 ? count[when] - size : quarter * size
    min = state[when, ++number, figure]
    while (--size > 0)
        if (state[when, ++number, figure] < min)
            min = state[when, number, figure]
    return min
}

function CheckGrowth(when, where, figure,    warm, last, line) {
    if (count[when] < 4)
        return Fault("too short to check the growth " where)
    warm = MinInQuarter(when, figure, 1)
    last = MinInQuarter(when, figure, 3)
    line = sprintf("%s %s: %d KiB after warm-up, %d KiB at the end, %+.1f KiB (%d allowed)", figure,
        where, warm / 1024, last / 1024, (last - warm) / 1024, max_growth[when, figure] / 1024)
    print line
    if (last - warm > max_growth[when, figure])
        Fault(line)
}

function CheckCount(figure,    first, most, number) {
    first = state["Gone", 1, figure]
    for (number = 1; number <= count["Gone"]; ++number) {
        most = Max(most, state["Gone", number, figure])
        if (state["Gone", number, figure] != first)
            left_over[figure] = 1
    }
    printf "%s: %d after the first life, at most %d after others and %d in any\n", figure, first,
        most, most_running[figure]
    if (figure in left_over)
        Fault(figure " left over")
    if (most_running[figure] > first + max_more[figure])
        Fault("too many " figure " in a life")
}

function CheckAnswers(    share, number) {
    share = due ? due_answered / due : 0
    printf "%d Probes to answer, %d not to answer, %d answers\n", probes, unanswerable, answers
    printf "%d Probes while the steady adapter's endpoint was up, %.3f %% answered there\n", due,
        100 * share
    if (share < min_share)
        Fault("Probes went unanswered")
    for (number = 1; number <= lives; ++number)
        if (life_end[number] - life_start[number] > long_life && !life_answered[number])
            Fault("no Probe answered in life " number)
}

END {
    print "second,life,heap,resident,descriptors,threads,sent,answered" >samples
    for (second = 0; second <= end - start; ++second)
        print second "," (second in sampled ? sampled[second] : ",,,,") "," sent[second] "," \
            sent_answered[second] >samples

    printf "%.1f minutes, %d lives, %d documents, %d adapter events\n", (end - start) / 60, lives,
        documents, adapter_events
    if (lives > 0 && count["Gone"] == lives && lives in life_end) {
        CheckAnswers()
        CheckCount("descriptors")
        CheckCount("threads")
        CheckGrowth("Gone", "after lives", "heap")
        CheckGrowth("Gone", "after lives", "resident")
        CheckGrowth("Running", "within the last life", "heap")
        CheckGrowth("Running", "within the last life", "resident")
    } else {
        Fault("a life did not end")
    }
    print fault_count ? "FAILED" : "Flat."
    for (number = 1; number <= fault_count; ++number)
        print "  " faults[number]
    exit fault_count > 0
}
