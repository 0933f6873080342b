# Network namespaces for scripts; to be sourced.
# shellcheck shell=bash

InOwnNetwork() { [[ ${PELORIN_NETWORK-} == "$(readlink /proc/self/ns/net)" ]]; }

# EnterOwnNetwork COMMAND...: does nothing in a network namespace of own-network's, else replaces
# the process by COMMAND, which is the calling script, in one. All processes that it starts end with
# it, however it ends.
EnterOwnNetwork()
{
    InOwnNetwork || exec "$(dirname "${BASH_SOURCE[0]}")/own-network" \
        unshare --pid --fork --kill-child --mount-proc "$@"
    # The first process of a process namespace ignores signals that it does not handle.
    trap 'exit 130' INT
    trap 'exit 143' TERM
}

# Makes another network namespace. It lives as long as the process $namespace, and that as long as
# the script.
MakeNamespace()
{
    local own there
    own=$(readlink /proc/self/ns/net)
    unshare --net sleep infinity &
    namespace=$!
    # Now and then it cannot be read for a moment.
    until there=$(readlink "/proc/$namespace/ns/net") && [[ $there != "$own" ]]; do
        kill -0 "$namespace"
        sleep 0.01
    done
}

# In NAMESPACE COMMAND...
In() { nsenter --net="/proc/$1/ns/net" "${@:2}"; }
