# Functions of the benchmarks; to be sourced. The sourcing script sets `build`, the folder of the
# programs, and `results`, the folder of the samples.
# shellcheck shell=bash disable=SC2154

# shellcheck source=../scripts/network.sh
. "$(dirname "${BASH_SOURCE[0]}")/../scripts/network.sh"

readonly server_core=0 load_core=1

# Sample BENCHMARK REPEAT SUBJECT CASE FIGURE VALUE: records a measured value.
Sample()
{
    local IFS=,
    echo "$*" >>"$results/samples.csv"
}

# AwaitAdapters COUNT: waits until COUNT adapters in $namespace have a carrier, which the kernel
# notices with a delay.
AwaitAdapters()
{
    until (($(In "$namespace" ip -brief link show type veth | grep -c ' UP ') == $1)); do
        sleep 0.05
    done
}

# StartServer NAMESPACE OUTPUT COMMAND...: starts a server on the servers' core and sets $server to
# the number of its process.
StartServer()
{
    : >"$2" # exists before AwaitLine reads it
    nsenter --net="/proc/$1/ns/net" taskset --cpu-list "$server_core" "${@:3}" >"$2" &
    server=$!
}

# AwaitLine FILE START: waits up to a minute for a line that begins with START; prints its rest.
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

# CpuTime PROCESS: prints the processor time of all its threads so far, in ns, from the scheduler's
# accounting, because utime and stime have the resolution of a clock tick.
CpuTime() { cat "/proc/$1"/task/*/schedstat | awk '{ sum += $1 } END { printf "%.0f", sum }'; }

# Load ADDRESS ARGUMENT...: runs the load generator on its core, prints its JSON.
Load() { taskset --cpu-list "$load_core" "$build/pelorin-load" --to "$@"; }

# ResidentMemory PROCESS: prints the resident memory in KiB.
ResidentMemory() { awk '/^VmRSS:/ { print $2 }' "/proc/$1/status"; }

# CountCalls PROCESS FILE COMMAND...: counts the system calls of all threads of a process while the
# command runs; writes a line with the number and the name of each call to the file.
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
