# Network namespaces for scripts; to be sourced.
# shellcheck shell=bash

InOwnNetwork() { [[ ${PELORIN_NETWORK-} == "$(readlink /proc/self/ns/net)" ]]; }

# EnterOwnNetwork SCRIPT [ARGUMENT]...: starts the calling script again in a new network namespace,
# or returns if it runs in one of scripts/own-network already. All processes that the script starts
# end with it.
EnterOwnNetwork()
{
    InOwnNetwork || exec "$(dirname "${BASH_SOURCE[0]}")/own-network" \
        unshare --pid --fork --kill-child --mount-proc "$@"
    # The first process of a PID namespace ignores signals for which it has no handler.
    trap 'exit 130' INT
    trap 'exit 143' TERM
}

# Creates another network namespace. It exists as long as the process $namespace, which ends with
# the script.
MakeNamespace()
{
    local own there
    own=$(readlink /proc/self/ns/net)
    unshare --net sleep infinity &
    namespace=$!
    # Sometimes the link cannot be read for a moment.
    until there=$(readlink "/proc/$namespace/ns/net") && [[ $there != "$own" ]]; do
        kill -0 "$namespace"
        sleep 0.01
    done
}

# In NAMESPACE COMMAND...: runs the command in the network namespace.
In() { nsenter --net="/proc/$1/ns/net" "${@:2}"; }
