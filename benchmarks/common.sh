# What the benchmarks share. They set `build`, the folder of the programs, and `results`, that of the
# samples.
# shellcheck shell=bash disable=SC2154

# shellcheck source=../scripts/network.sh
. "$(dirname "${BASH_SOURCE[0]}")/../scripts/network.sh"

readonly server_core=0 load_core=1
declare -A running # by process number

EndAll()
{
    [[ ${#running[@]} -eq 0 ]] || kill "${!running[@]}" 2>/dev/null || true
    wait
}

# Sample BENCHMARK REPEAT SUBJECT CASE FIGURE VALUE: files one measured value.
Sample()
{
    local IFS=,
    echo "$*" >>"$results/samples.csv"
}

# AwaitAdapters COUNT: until so many cables of the namespace are known to carry, which the kernel
# finds out somewhat later.
AwaitAdapters()
{
    until (($(In "$namespace" ip -brief link show type veth | grep -c ' UP ') == $1)); do
        sleep 0.05
    done
}

# StartServer NAMESPACE OUTPUT COMMAND...: on the servers' core; leaves its number in $server. One
# process from the start to the server: what is measured and ended is the server itself.
StartServer()
{
    : >"$2" # at once, for those who look into it
    nsenter --net="/proc/$1/ns/net" taskset --cpu-list "$server_core" "${@:3}" >"$2" &
    server=$!
    running[$server]=1
}

# AwaitLine FILE START: within a minute a line of the file begins so; prints what follows.
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

# Processor time of all threads of a process so far, in ns, by the scheduler's own accounting: utime
# and stime come in steps of a clock tick.
CpuTime() { cat "/proc/$1"/task/*/schedstat | awk '{ sum += $1 } END { printf "%.0f", sum }'; }

# Load ADDRESS ARGUMENT...: runs the load generator on its core, prints its JSON.
Load() { taskset --cpu-list "$load_core" "$build/pelorin-load" --to "$@"; }

# ResidentMemory PROCESS: in KiB
ResidentMemory() { awk '/^VmRSS:/ { print $2 }' "/proc/$1/status"; }

# CountCalls PROCESS FILE COMMAND...: counts the system calls of all threads of a process while the
# command runs, as "calls name" lines.
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
