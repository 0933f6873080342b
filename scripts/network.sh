# Functions for scripts that need network namespaces of their own; to be sourced.
# shellcheck shell=bash

# InOwnNetwork: succeeds if this script runs in a network namespace that scripts/own-network
# created.
InOwnNetwork() { [[ ${PELORIN_NETWORK-} == "$(readlink /proc/self/ns/net)" ]]; }

# EnterOwnNetwork SCRIPT [ARGUMENT]...: returns if InOwnNetwork. Otherwise runs the calling SCRIPT
# again, in a new network namespace and a new PID namespace: when this second run ends, the kernel
# ends all its processes.
EnterOwnNetwork()
{
    InOwnNetwork || exec "$(dirname "${BASH_SOURCE[0]}")/own-network" \
        unshare --pid --fork --kill-child --mount-proc "$@"
    # In the second run, SIGINT and SIGTERM end the script only if it has handlers for them, because
    # it is the first process of its PID namespace (pid_namespaces(7)).
    trap 'exit 130' INT
    trap 'exit 143' TERM
}

# MakeNamespace: creates another network namespace, which exists until the script's second run (see
# EnterOwnNetwork) ends. Sets $namespace to the ID of a process in it, by which nsenter(1) and ip(8)
# find the namespace.
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
