# Shared by the server benchmarks: a throwaway cluster, or the one TW_SERVER_URL's file names.
# server_start WORKDIR; server_database NAME (its address, superuser and password
# in it, in server_db); server_config URL (a twk.cfg naming it); server_password; server_stop (stops the
# cluster, or drops the databases made on the given server).
server_start() {
    if [ -n "${TW_SERVER_URL:-}" ]; then
        server_admin=$(cat "$TW_SERVER_URL")
        server_own=""
    else
        server_own="$1/cluster.url"
        "$repo/scripts/pg-cluster.sh" start "$server_own" >/dev/null
        server_admin=$(cat "$server_own")
    fi
}
server_database() {
    name="tw_bench_$1_$$"
    PGOPTIONS=--client-min-messages=warning psql -q "$server_admin" \
        -c "drop database if exists $name" -c "create database $name" >/dev/null
    server_made="${server_made:-} $name"
    server_db="${server_admin%/*}/$name"
}
server_config() { # the address without the password, and the role, as twk.cfg holds them
    printf '%s,%s,\n' "$(echo "$1" | sed 's|//[^@]*@|//|')" \
        "$(echo "$1" | sed 's|^[a-z]*://\([^:@]*\).*|\1|')"
}
server_password() {
    echo "$server_admin" | sed 's|^[a-z]*://[^:]*:\([^@]*\)@.*|\1|'
}
server_stop() {
    if [ -n "${server_own:-}" ]; then
        "$repo/scripts/pg-cluster.sh" stop "$server_own" >/dev/null 2>&1 || true
    elif [ -n "${server_admin:-}" ]; then
        for name in ${server_made:-}; do
            psql -q "$server_admin" -c "drop database if exists $name" >/dev/null 2>&1 || true
        done
    fi
}
