#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# Usage: postgres.sh FOLDER PORT make | start | stop MODE | stop-in-question | silence | wake | freeze | thaw
# Controls a PostgreSQL server of its own, on loopback, which takes files of 4 MB at most. It has the empty databases
# shop and other, and the roles reader, which may nothing, and guarded, which needs a password and may everything. The
# file "services" has services of guarded, with the password in a file, and with a certificate that is right or not. The
# status is 77 where PostgreSQL is not installed.

set -euo pipefail
programs=$(printf '%s\n' /usr/lib/postgresql/*/bin | tail -n 1)
[[ -x $programs/initdb ]] || exit 77
if ((EUID == 0)); then # as which the server refuses to run
    chown postgres "$1"
    exec runuser -u postgres -- bash -c "$(<"$0")" "$0" "$@"
fi

cd "$1"
export PATH=$programs:$PATH PGDATA=$1/data PGHOST=127.0.0.1 PGPORT=$2 PGUSER=postgres
exec >>log 2>&1

start() {
    (ulimit -f 4096; pg_ctl -l log -w start -o "-h 127.0.0.1 -k '$PWD' -c fsync=off -p $PGPORT")
}

service() {
    printf '%s\n' "[$1]" hostaddr=127.0.0.1 "port=$PGPORT" dbname=shop user=guarded "passfile=$PWD/pass" "${@:2}"
}

case $3 in
make)
    initdb -U postgres -A trust -E UTF8 --no-locale --no-sync --wal-segsize=1
    sed -i '1i host all guarded 127.0.0.1/32 scram-sha-256' data/pg_hba.conf
    for name in server other; do
        openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -subj /CN=localhost \
            -keyout data/$name.key -out $name.crt
    done
    printf "ssl = on\nssl_cert_file = '%s/server.crt'\n" "$PWD" >>data/postgresql.conf
    (umask 077; echo '*:*:*:guarded:in a file' >pass)
    {
        service password sslmode=disable
        service right host=localhost sslmode=verify-full "sslrootcert=$PWD/server.crt"
        service unknown host=localhost sslmode=verify-full "sslrootcert=$PWD/other.crt"
        service misnamed host=127.0.0.1 sslmode=verify-full "sslrootcert=$PWD/server.crt"
    } >services
    start
    createuser reader
    createuser --superuser guarded
    createdb shop
    createdb other
    ;;
start) start ;;
stop) pg_ctl -w stop -m "$4" ;;
silence) kill -STOP "$(head -n 1 data/postmaster.pid)" ;;
freeze | thaw) # what serves the connections of the tests
    signal=$([[ $3 == freeze ]] && echo STOP || echo CONT)
    psql -d shop -qAtc "SELECT pid FROM pg_stat_activity WHERE application_name = 'zqxml'" | xargs kill "-$signal"
    ;;
wake) kill -CONT "$(head -n 1 data/postmaster.pid)" ;;
stop-in-question)
    {
        until psql -d shop -qc 'SELECT 1 / count(*) FROM pg_locks WHERE NOT granted'; do :; done
        pg_ctl -w stop -m immediate
    } &
    ;;
esac
