#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# Usage: postgres.sh FOLDER PORT make | start | stop MODE | stop-in-question | silence | wake
# Controls a PostgreSQL server of its own, on loopback, which takes files of 4 MB at most. It has the empty databases
# shop and other, and the roles reader, which may nothing, and guarded, which needs a password and may everything. The
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

case $3 in
make)
    initdb -U postgres -A trust -E UTF8 --no-locale --no-sync --wal-segsize=1
    sed -i '1i host all guarded 127.0.0.1/32 scram-sha-256' data/pg_hba.conf
    start
    createuser reader
    createuser --superuser guarded
    createdb shop
    createdb other
    ;;
start) start ;;
stop) pg_ctl -w stop -m "$4" ;;
silence) kill -STOP "$(head -n 1 data/postmaster.pid)" ;;
wake) kill -CONT "$(head -n 1 data/postmaster.pid)" ;;
stop-in-question)
    {
        until psql -d shop -qc 'SELECT 1 / count(*) FROM pg_locks WHERE NOT granted'; do :; done
        pg_ctl -w stop -m immediate
    } &
    ;;
esac
