# Functions for benchmarks/answering and benchmarks/scaling, which set $build, the folder of the
# built programs, and $results, the folder of samples.csv.
# shellcheck shell=bash disable=SC2154

# shellcheck source=../scripts/network.sh
. "$(dirname "${BASH_SOURCE[0]}")/../scripts/network.sh"

# Servers and load generator run on separate cores, so that they take no time from each other.
readonly server_core=0 load_core=1

# Sample BENCHMARK REPEAT SUBJECT CASE FIGURE VALUE: appends a measured value to samples.csv, for
# summary.awk. SUBJECT is a server or a number of adapters. CASE is the name of the load or
# "memory", in benchmarks/scaling always "adapters". FIGURE names VALUE and its unit ("cpu_us").
Sample()
{
    local IFS=,
    echo "$*" >>"$results/samples.csv"
}

# AwaitAdapters COUNT: waits until COUNT veth adapters in $namespace are in the state UP, which they
# reach a moment after both ends are set up. bench-host hands over others as not connected, and the
# plug-in does not use them.
AwaitAdapters()
{
    until (($(In "$namespace" ip -brief link show type veth | grep -c ' UP ') == $1)); do
        sleep 0.05
    done
}

# StartServer NAMESPACE OUTPUT COMMAND...: starts the server COMMAND in the namespace (see In of
# scripts/network.sh), on the core for servers, with its standard output in the file OUTPUT. Sets
# $server to its process ID.
StartServer()
{
    # Creates the file for AwaitLine; the command in the background may create it too late.
    : >"$2"
    nsenter --net="/proc/$1/ns/net" taskset --cpu-list "$server_core" "${@:3}" >"$2" &
    server=$!
}

# AwaitLine FILE START: waits until the file has a line that begins with START, then prints the rest
# of this line. Fails after a minute.
AwaitLine()
{
    for ((tenth = 0; tenth < 600; ++tenth)); do
        if grep -q "^$2" "$1"; then
            sed -n "s/^$2 *//p" "$1"
            return
        fi
        sleep 0.1
    done
    echo "$0: nothing begins with '$2' in $1" >&2
    return 1
}

# CpuTime PROCESS: prints the processor time that the threads of the process have used so far, in
# ns. Reads schedstat: utime and stime of /proc/PROCESS/stat (proc(5)) count clock ticks, usually of
# 10 ms.
CpuTime() { cat "/proc/$1"/task/*/schedstat | awk '{ sum += $1 } END { printf "%.0f", sum }'; }

# Load ADDRESS ARGUMENT...: runs pelorin-load on the load generator's core, with ADDRESS as the
# destination and ARGUMENTs as further options. Prints its result, a line of JSON.
Load() { taskset --cpu-list "$load_core" "$build/pelorin-load" --to "$@"; }

# ResidentMemory PROCESS: prints the resident memory of the process in KiB.
ResidentMemory() { awk '/^VmRSS:/ { print $2 }' "/proc/$1/status"; }

# CountCalls PROCESS FILE COMMAND...: runs the command and counts the system calls that the process
# makes meanwhile. Writes a line for each kind of system call to FILE: its count and its name.
CountCalls()
{
    local process=$1 file=$2 tracer
    shift 2
    strace --follow-forks --summary-only --output="$file.strace" --attach="$process" 2>"$file.log" &
    tracer=$!
    until grep -q attached "$file.log"; do
        kill -0 "$tracer" || return 1
        sleep 0.1
    done
    sleep 0.5
    "$@"
    kill -INT "$tracer"
    wait "$tracer" || true
    awk '$1 ~ /^[0-9.]+$/ && $NF != "total" { print $4, $NF }' "$file.strace" >"$file"
}
