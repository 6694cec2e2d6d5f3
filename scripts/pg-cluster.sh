#!/usr/bin/env bash
# A throwaway PostgreSQL cluster for the tests of the server store.
#
#   scripts/pg-cluster.sh start URLFILE   makes a cluster in a new folder of its own, starts it
#                                          on 127.0.0.1 and a free port, and writes into URLFILE
#                                          the address the tests use (its superuser and password
#                                          in it)
#   scripts/pg-cluster.sh stop URLFILE    stops that cluster, removes its folder and URLFILE
#
# The server refuses to run as root, so a root caller (CI) runs it as the postgres user. Every
# login over TCP is checked by password (SCRAM), as on an office's server, so that the login
# tests meet real refusals.
set -euo pipefail

usage() { echo "usage: $0 start|stop URLFILE" >&2; exit 2; }
[ $# -eq 2 ] || usage
action=$1
urlfile=$2

bindir=$(pg_config --bindir 2>/dev/null || true)
if [ -z "$bindir" ] || [ ! -x "$bindir/initdb" ]; then
  bindir=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1)
fi
[ -n "$bindir" ] && [ -x "$bindir/initdb" ] ||
  { echo "$0: initdb not found (install the postgresql package)" >&2; exit 1; }

# Runs a server program as the cluster's owner.
as_owner() {
  if [ "$(id -u)" -eq 0 ]; then
    runuser -u postgres -- "$@"
  else
    "$@"
  fi
}

case $action in
start)
  if [ -f "$urlfile" ]; then
    "$0" stop "$urlfile" || true
  fi
  data=$(mktemp -d /tmp/tw-pg.XXXXXX)
  [ "$(id -u)" -eq 0 ] && chown postgres: "$data"
  chmod 700 "$data"
  password=$(head -c 18 /dev/urandom | base64 | tr -d '/+=')
  printf '%s\n' "$password" >"$data/pw"
  [ "$(id -u)" -eq 0 ] && chown postgres: "$data/pw"
  as_owner "$bindir/initdb" -D "$data/db" -U tw_admin --pwfile="$data/pw" -E UTF8 \
    --locale=C --auth-local=scram-sha-256 --auth-host=scram-sha-256 >"$data/initdb.log"
  rm -f "$data/pw"
  # A free port: one picked at random, and another when the server finds it taken.
  started=""
  for _ in 1 2 3 4 5 6 7 8 9 10; do
    port=$((20000 + RANDOM % 40000))
    if as_owner "$bindir/pg_ctl" -D "$data/db" -l "$data/server.log" -w -t 60 \
        -o "-c listen_addresses=127.0.0.1 -c port=$port -c unix_socket_directories=$data -c fsync=off -c max_connections=200" \
        start >/dev/null; then
      started=yes
      break
    fi
  done
  [ -n "$started" ] || { cat "$data/server.log" >&2; echo "$0: the cluster did not start" >&2; exit 1; }
  printf 'postgresql://tw_admin:%s@127.0.0.1:%s/postgres\n' "$password" "$port" >"$urlfile"
  printf '%s\n' "$data" >"$urlfile.folder"
  cat "$urlfile"
  ;;
stop)
  [ -f "$urlfile.folder" ] || { rm -f "$urlfile"; exit 0; }
  data=$(cat "$urlfile.folder")
  case $data in /tmp/tw-pg.*) ;; *) echo "$0: $urlfile.folder names no cluster" >&2; exit 1 ;; esac
  if [ -d "$data/db" ]; then
    as_owner "$bindir/pg_ctl" -D "$data/db" -m immediate -w stop >/dev/null || true
  fi
  rm -rf "$data"
  rm -f "$urlfile" "$urlfile.folder"
  ;;
*) usage ;;
esac
