# Functions for scripts that need network namespaces of their own; to be sourced.
# shellcheck shell=bash

# InOwnNetwork: succeeds if this script runs in a network namespace that scripts/own-network
# created.
InOwnNetwork() { [[ ${PELORIN_NETWORK-} == "$(readlink /proc/self/ns/net)" ]]; }

# EnterOwnNetwork SCRIPT [ARGUMENT]...: makes sure that the calling script, SCRIPT, runs in a
# network namespace of its own. Outside one, starts it again, with the ARGUMENTs, in a new network
# namespace and a new PID namespace. Inside one, returns. When the script ends, the kernel ends all
# processes that it has started.
EnterOwnNetwork()
{
    InOwnNetwork || exec "$(dirname "${BASH_SOURCE[0]}")/own-network" \
        unshare --pid --fork --kill-child --mount-proc "$@"
    # The script is now the first process of its PID namespace. The kernel does not end this process
    # by a signal for which it has no handler (pid_namespaces(7)). Without these traps it would
    # survive SIGINT and SIGTERM.
    trap 'exit 130' INT
    trap 'exit 143' TERM
}

# MakeNamespace: creates another network namespace and sets $namespace to the ID of a process in it,
# by which nsenter(1) and ip(8) find it. The namespace exists until this process ends, at the latest
# when the script ends.
MakeNamespace()
{
    local own there
    own=$(readlink /proc/self/ns/net)
    unshare --net sleep infinity &
    namespace=$!
    # Waits until the process is in its own namespace. For a moment the link may be unreadable.
    until there=$(readlink "/proc/$namespace/ns/net") && [[ $there != "$own" ]]; do
        kill -0 "$namespace"
        sleep 0.01
    done
}

# In NAMESPACE COMMAND...: runs the command in a network namespace. NAMESPACE is the process ID that
# MakeNamespace put into $namespace.
In() { nsenter --net="/proc/$1/ns/net" "${@:2}"; }
