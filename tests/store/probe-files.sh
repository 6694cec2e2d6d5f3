#!/usr/bin/env bash
# Probes the command-line companion with what a hostile or unlucky machine hands it, and checks
# that the books and every file around them stay as they were:
#   hostile  every database of tests/data/store, as the folder's database and as a restore
#   links    a lock, a backup target and a database that are symbolic links; the database in
#            use and its journal as a backup target
#   full     a disk that fills: backup, backup --to and restore on a small tmpfs (mounted as
#            root, or in a user namespace by unshare)
#   users    a second user (nobody, as root only): a lock of another user's is never removed, a
#            program folder that holds the books but cannot be written is named
#
#   tests/store/probe-files.sh [CLI] [PART...]    (CLI default build/tallywright-cli; all parts)
# Needs the sqlite3 program; "full" needs root or unshare, "users" root and setpriv (each is
# skipped, saying so, without them). ctest runs it.
set -uo pipefail

here=$(cd "$(dirname "$0")" && pwd)
cli=$(realpath "${1:-$here/../../build/tallywright-cli}")
shift || true
parts=${*:-hostile links full users}
command -v sqlite3 >/dev/null || { echo "probe-files: the sqlite3 program is needed" >&2; exit 2; }
[ -x "$cli" ] || { echo "probe-files: no program $cli" >&2; exit 2; }

work=$(mktemp -d)
chmod 755 "$work"
cleanup() { mountpoint -q "$work/full" 2>/dev/null && umount "$work/full"; rm -rf "$work"; }
trap cleanup EXIT
export XDG_RUNTIME_DIR="$work/runtime"
mkdir -m 700 "$XDG_RUNTIME_DIR"
failed=0 passed=0
check() { # check WHAT CONDITION...
    local what=$1
    shift
    if "$@"; then passed=$((passed + 1)); else echo "FAIL: $what"; failed=$((failed + 1)); fi
}
sum() { sha256sum "$1" 2>/dev/null | cut -d' ' -f1; }
says() { grep -qF -- "$1" "$XDG_RUNTIME_DIR/err"; } # the last command's stderr holds the text
run() { "$cli" "$@" >"$XDG_RUNTIME_DIR/out" 2>"$XDG_RUNTIME_DIR/err"; } # gives the exit code
fresh() { mkdir -p "$1" && "$cli" --folder "$1" init >/dev/null; }

hostile() {
    local f=$work/hostile sql name
    fresh "$f"
    cp "$f/Tallywright.db" "$work/fresh.db"
    for sql in "$here"/../data/store/*.sql; do
        name=$(basename "$sql" .sql)
        rm -f "$f/Tallywright.db" "$work/$name.db"
        head -1 "$sql" | grep -q '^-- an empty file' || cp "$work/fresh.db" "$work/$name.db"
        sqlite3 "$work/$name.db" <"$sql" >/dev/null
        cp "$work/$name.db" "$f/Tallywright.db"
        local before=$(sum "$work/$name.db") listed=$(ls -A "$f" "$work")
        run --folder "$f" restore "$work/$name.db"
        check "$name: restore refused" [ $? -eq 1 ]
        check "$name: restore names the file" says "$work/$name.db is not a Tallywright database"
        run --folder "$f" init
        check "$name: database refused" [ $? -eq 1 ]
        check "$name: database named" says "$f/Tallywright.db is not a Tallywright database"
        check "$name: left byte for byte" [ "$(sum "$f/Tallywright.db")" = "$before" \
            -a "$(sum "$work/$name.db")" = "$before" ]
        check "$name: nothing made beside" [ "$(ls -A "$f" "$work")" = "$listed" ]
    done
}

links() {
    local f=$work/links victim=$work/victim.txt
    fresh "$f"
    echo "keep me" >"$victim"
    chmod 644 "$victim"
    local books=$(sum "$f/Tallywright.db")
    ln -s "$victim" "$f/Tallywright.lock"
    run --folder "$f" restore "$f/Tallywright.db"
    check "lock link: restore refused" [ $? -eq 1 ]
    check "lock link: named" says "$f/Tallywright.lock is a symbolic link"
    rm "$f/Tallywright.lock"
    ln -s "$victim" "$work/copy.db"
    run --folder "$f" backup --to "$work/copy.db"
    check "backup onto a link: refused, named" says "$work/copy.db is a symbolic link"
    for onto in "$f/Tallywright.db" "$f/Tallywright.db-journal" "$work/copy.db"; do
        [ "$onto" = "$work/copy.db" ] && ln -sf "$f/Tallywright.db" "$onto"
        run --folder "$f" backup --to "$onto"
        check "backup --to $onto: refused, named" says "$onto is "
    done
    check "the books are as they were" [ "$(sum "$f/Tallywright.db")" = "$books" ]
    check "no journal made" [ ! -e "$f/Tallywright.db-journal" ]
    check "the linked file is as it was" [ "$(cat "$victim")" = "keep me" \
        -a "$(stat -c %a "$victim")" = 644 ]
    local g=$work/dangling
    mkdir "$g"
    ln -s "$work/elsewhere.db" "$g/Tallywright.db"
    run --folder "$g" init
    check "a database link to nowhere: refused, named" says "$g/Tallywright.db is a symbolic link"
    check "nothing made where it points" [ ! -e "$work/elsewhere.db" ]
}

# On a disk that fills: told "No space left on the device" with the file's name; nothing cut
# short stands under a name or is listed; the books are as they were.
full_inside() {
    local f=$1
    fresh "$f" || { echo "FAIL: no room for a new database"; return; }
    local books=$(sum "$f/Tallywright.db")
    # Leave less room than one copy of the books takes.
    dd if=/dev/zero of="$f/filler" bs=4k count=$(($(stat -f -c %a "$f") - 8)) 2>/dev/null
    run --folder "$f" backup
    check "full: backup fails" [ $? -eq 1 ]
    check "full: backup says so" says "No space left on the device"
    check "full: the backup is named" says "$f/backups/Tallywright-"
    run --folder "$f" backup --to "$f/copy.db"
    check "full: backup --to says so, naming it" says "$f/copy.db: No space left on the device"
    check "full: no copy left" [ ! -e "$f/copy.db" ]
    rm -f "$f/filler"
    run --folder "$f" backup --to "$f/good.db"
    dd if=/dev/zero of="$f/filler" bs=4k count=$(($(stat -f -c %a "$f") - 8)) 2>/dev/null
    run --folder "$f" restore "$f/good.db"
    check "full: restore fails" [ $? -eq 1 ]
    check "full: restore says so, naming the database" \
        says "$f/Tallywright.db: No space left on the device"
    check "full: nothing half made is left" [ -z "$(find "$f" -name '*.part*')" ]
    check "full: no backup listed" [ -z "$(ls "$f/backups" 2>/dev/null | grep -v '\.part')" ]
    check "full: the books are as they were" [ "$(sum "$f/Tallywright.db")" = "$books" ]
    echo "full: $(df -k "$f" | awk 'NR == 2 { print $2 " KB disk, " $4 " KB left" }')"
}

full() {
    mkdir -p "$work/full"
    if [ "$(id -u)" -eq 0 ] && mount -t tmpfs -o size=2m,mode=755 tmpfs "$work/full" 2>/dev/null
    then
        full_inside "$work/full/books"
    elif unshare -Urm true 2>/dev/null; then
        unshare -Urm bash -c 'mount -t tmpfs -o size=2m tmpfs "$1" && "$2" "$3" full-inside "$1/books"' \
            _ "$work/full" "$here/probe-files.sh" "$cli" | tee "$work/full.out" |
            grep -v '^probe-files:'
        local counts=($(grep '^probe-files:' "$work/full.out" | tr -dc '0-9 '))
        passed=$((passed + ${counts[0]:-0}))
        failed=$((failed + ${counts[1]:-1}))
    else
        echo "full: skipped (needs root, or unshare with user namespaces, to mount a tmpfs)"
    fi
}

as_nobody() {
    setpriv --reuid=nobody --regid=nogroup --clear-groups \
        env -u XDG_RUNTIME_DIR HOME="$work/nobody" "$@"
}

users() {
    if [ "$(id -u)" -ne 0 ] || ! command -v setpriv >/dev/null; then
        echo "users: skipped (needs root and setpriv)"
        return
    fi
    mkdir -p "$work/nobody" && chown nobody "$work/nobody"
    # A shared folder anyone may write in, and a copy of the program running on it.
    local f=$work/shared
    fresh "$f"
    chmod 777 "$f"
    "$cli" --folder "$f" backup --to "$work/good.db" >/dev/null
    chmod 644 "$work/good.db"
    local books=$(sum "$f/Tallywright.db")
    (exec 9>"$f/Tallywright.lock" && flock 9 && exec sleep 30) </dev/null >/dev/null 2>&1 &
    local holder=$!
    sleep 0.2
    run_nobody() { as_nobody "$cli" "$@" >"$XDG_RUNTIME_DIR/out" 2>"$XDG_RUNTIME_DIR/err"; }
    run_nobody --folder "$f" restore "$work/good.db"
    check "users: a restore beside another user's copy is refused" [ $? -eq 1 ]
    check "users: the lock is named" says "$f/Tallywright.lock cannot be opened"
    check "users: the lock is still there" [ -e "$f/Tallywright.lock" ]
    check "users: the books are as they were, and still root's" \
        [ "$(sum "$f/Tallywright.db")" = "$books" -a "$(stat -c %U "$f/Tallywright.db")" = root ]
    kill "$holder" 2>/dev/null
    wait "$holder" 2>/dev/null
    # A program folder that holds the books, which this user cannot write.
    local p=$work/program
    mkdir -p "$p"
    cp "$cli" "$p/" && cp "$f/Tallywright.db" "$p/"
    chmod 755 "$p"
    as_nobody "$p/tallywright-cli" init >"$XDG_RUNTIME_DIR/out" 2>"$XDG_RUNTIME_DIR/err"
    check "users: a read-only program folder fails" [ $? -eq 1 ]
    check "users: it names the folder and why" says "cannot write in its folder $p: Permission denied"
    check "users: no empty book made elsewhere" [ -z "$(find "$work/nobody" -name '*.db')" ]
}

if [ "${1:-}" = full-inside ]; then # the disk-full part, run inside a user namespace
    full_inside "$2"
else
    for part in $parts; do
        "$part"
    done
fi
echo "probe-files: $passed checks passed, $failed failed"
[ "$failed" -eq 0 ]
