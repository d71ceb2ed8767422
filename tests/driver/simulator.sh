# Sourced by the runs whose BMC is a served simulator. Needs machine.sh's variables; sets port while one is served.
# shellcheck shell=bash

ctl() { "$bin/trx-bmcsim" ctl --socket "$work/sockets" "$@"; }

# serve MACHINE: ends what is served and serves MACHINE, at the same port as before.
serve() {
    stop
    coproc "$bin/trx-bmcsim" serve --machine "$1" --socket "$work/sockets" --vm "${port:-0}" 2>&1
    server=$COPROC_PID
    read -r ready <&"${COPROC[0]}"
    [[ $ready = ready:* ]] || { echo "$ready"; exit 1; }
    port=${ready##*:}
}
stop() {
    [ -z "${server:-}" ] || { kill "$server" && wait "$server" || true; }
    server=
}

# What the test in the machine asks for on its console, as "simulator: WORD...".
carry_out() {
    case $1 in
    serve | stop) "$@" ;;
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

# emulate_served TEST: runs tests/driver/TEST in a machine whose BMC is what is served.
emulate_served() {
    trap 'stop; [ -z "${machine:-}" ] || kill "$machine" 2>/dev/null || true' EXIT
    mkfifo "$work/console.in" "$work/console.out"
    exec {answers}<>"$work/console.in"
    emulate "$1" "pipe:$work/console" -chardev "socket,id=c0,host=127.0.0.1,port=$port,reconnect=1" \
        -device ipmi-bmc-extern,id=bmc0,chardev=c0 &
    machine=$!
    attend <"$work/console.out"
    wait $machine || { echo "the emulated machine failed:"; cat "$work/console.txt"; exit 1; }
    machine=
    results
}
