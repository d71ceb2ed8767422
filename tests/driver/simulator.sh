# SPDX-License-Identifier: Apache-2.0
# Sourced by the run: the served simulators. Needs machine.sh's variables.
# shellcheck shell=bash
declare -A server port # by the name of the test that asks

# ctl NAME WORD...
ctl() { "$bin/trx-bmcsim" ctl --socket "$work/$1.sockets" "${@:2}"; }

# serve NAME MACHINE: ends what is served by this name and serves MACHINE, at the same port as before.
serve() {
    local ready said
    stop "$1"
    [ -e "$work/$1.ready" ] || mkfifo "$work/$1.ready"
    exec {said}<>"$work/$1.ready"
    "$bin/trx-bmcsim" serve --machine "$2" --socket "$work/$1.sockets" --vm "${port[$1]:-0}" >&"$said" 2>&1 &
    server[$1]=$!
    read -r ready <&"$said"
    [[ $ready = ready:* ]] || { echo "$ready"; exit 1; }
    port[$1]=${ready##*:}
}
stop() {
    [ -z "${server[$1]:-}" ] || { kill "${server[$1]}" && wait "${server[$1]}" || true; }
    server[$1]=
}

# What the tests in the machine ask for on its console, as "simulator: NAME WORD...".
carry_out() {
    case $2 in
    serve | stop) "$2" "$1" "${@:3}" ;;
    *) (cd "$here" && ctl "$@") ;;
    esac
}
attend() {
    local line
    while read -r line; do
        line=${line%$'\r'}
        echo "$line" >>"$work/console.txt"
        if [[ $line = "simulator: "* ]]; then
            # shellcheck disable=SC2086
            carry_out ${line#simulator: }
            echo "done" >&"$answers"
        fi
    done
}
