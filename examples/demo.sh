#!/bin/sh
# The demo run of `make demo`: kotool over the library's main jobs on bundled inputs.
# Usage: sh examples/demo.sh BUILD_DIR
# Each command line is printed shell-quoted, so it can be pasted. Every command has an expected
# exit status; a command that fails as expected says so, and any other status (a crash shows as
# 128 + the signal number) fails the demo once it has run to the end.
set -e
build=${1:-build}
kotool="$(cd "$build" && pwd)/bin/kotool"
export LD_LIBRARY_PATH="$(cd "$build" && pwd)/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"
failures=$(mktemp)
trap 'rm -f "$failures"' EXIT

# One argument quoted for the shell (only when it needs it).
quote() {
    case $1 in
    '') printf "''" ;;
    *[!A-Za-z0-9_./:=%+,@-]*) printf "'%s'" "$(printf '%s' "$1" | sed "s/'/'\\\\''/g")" ;;
    *) printf '%s' "$1" ;;
    esac
}

# run STATUS ARGS...: kotool ARGS, expected to exit with STATUS.
run() {
    expected=$1
    shift
    line='$ kotool'
    for arg in "$@"; do line="$line $(quote "$arg")"; done
    printf '%s\n' "$line"
    status=0
    "$kotool" "$@" || status=$?
    if [ "$status" -ne "$expected" ]; then
        printf 'demo: UNEXPECTED: exit status %s, expected %s\n' "$status" "$expected" >&2
        printf '%s (status %s)\n' "$line" "$status" >>"$failures"
    elif [ "$status" -ne 0 ]; then
        printf '(exit status %s, as expected)\n' "$status"
    fi
    echo
}

echo "== Error messages worded through the error list and the message catalogue"
run 0 msg 1509 /home/user/.odbc.ini
run 0 msg 1523 /usr/lib/libmissing.so "cannot open shared object file"
run 0 msg 2700 "AVERYLONGIDENTIFIER"
run 0 msg 30041
run 1 msg 9999

echo "== LIKE matching"
run 0 like "Customer Orders" "cust%ord%"
run 1 like -c "Customer Orders" "cust%"
run 0 like "100%" '100\%'
run 1 like "ABC" "A_"

echo "== Scanner tokens of an SQL statement (type, offset, text)"
run 0 tokens "SELECT o.id, 'O''Neil' AS name FROM orders o WHERE o.total >= 10.5 AND o.x <> {fn NOW()}"
run 0 tokens "SELECT * FROM a, b /* join */ WHERE a.k = b.k(+) -- outer"

echo "== Connection strings: pairs and the string rebuilt from them"
run 0 connstr "DSN=sales;UID=ann;PWD='se;cret'"
run 0 connstr "ODBC;DRIVER={Ko Driver 2.0};Data Source=/srv/db;;Port=5432"
run 1 connstr "DSN=a;UID=b;DSN=c"
run 1 connstr "DSN=a;UID"

echo "== Where the configuration files resolve (bundled sample home in examples/home)"
here=$(cd "$(dirname "$0")" && pwd)
(
    export HOME="$here/home" ODBC_INI="$here/home/.odbc.ini" KO_SYSTEM_INI="$here/system.defaults"
    unset ODBCINI KO_ODBC_INI KOLIB_INI
    run 0 files
    run 0 locate .odbc.ini 0x02
)
run 0 locate libkolib.so 0x08
run 1 locate no-such-file.ini

echo "== Parsing SQL with the example grammar (examples/sql_grammar.txt)"
run 0 parse "$here/sql_grammar.txt" "$here/sql_keywords.txt" "SELECT c.name, COUNT(*) AS n FROM customers c LEFT JOIN orders o ON o.cid = c.id GROUP BY c.name"
run 0 parse "$here/sql_grammar.txt" "$here/sql_keywords.txt" "DELETE FROM orders WHERE status = 'void' OR total IS NULL"
run 1 parse "$here/sql_grammar.txt" "$here/sql_keywords.txt" "SELECT a, FROM t"

echo "== Data sources and profile values (a copy of the sample home, so the bundled files stay as they are)"
home=$(mktemp -d)
cp -R "$here/home/." "$home/"
cp "$here/handwritten.ini" "$home/"
(
    cd "$home"
    export HOME="$home" ODBCINI="$home/.odbc.ini"
    unset ODBC_INI KO_ODBC_INI KOLIB_INI KO_SYSTEM_INI
    run 0 check
    run 0 dsn
    run 0 get ODBC.INI Sales
    run 0 get ODBC.INI Sales Database
    run 0 set ODBC.INI Sales Port 5432
    run 0 set ODBC.INI Reports Driver "Flat-file driver"
    run 0 delete ODBC.INI Inventory
    run 0 delete ODBC.INI Sales Description
    run 1 delete ODBC.INI Sales Description
    run 0 get ODBC.INI "ODBC Data Sources" Inventory
    echo "\$ cat \$HOME/.odbc.ini"
    cat "$HOME/.odbc.ini"
    echo
    echo "== A hand-written file (blanks around \"=\", CRLF line ends, \"[\" in a value)"
    run 1 get handwritten.ini Orders Port
    run 1 check handwritten.ini
    echo "\$ export KO_INI_COMPAT=1   (the compatible reading)"
    (
        export KO_INI_COMPAT=1
        run 0 get handwritten.ini Orders Port
        run 0 get handwritten.ini Orders Database
    )
    echo "== Without a data-source file"
    unset ODBCINI
    run 1 dsn
)
rm -rf "$home"

echo "== A B-tree in the temporary store: 1,000 keys stay in memory, 50,000 spill (in a scratch KO_TMPDIR)"
spill=$(mktemp -d)
(
    export KO_TMPDIR="$spill"
    run 0 tree 1000
    run 0 tree 50000
    echo "\$ ls \$KO_TMPDIR   (the spill file is gone with its tree)"
    ls "$spill"
)
rm -rf "$spill"

echo "== A saved query definition (a copy of examples/sales_by_region.kqf)"
queries=$(mktemp -d)
cp "$here/sales_by_region.kqf" "$queries/"
(
    cd "$queries"
    run 0 query show sales_by_region.kqf
    run 0 query set sales_by_region.kqf PARAMETERS end 2027-03-31
    run 0 query set sales_by_region.kqf "USER COMMANDS" SET.QUERY.DESCRIPTION '"Sales to the end of March"'
    echo "\$ diff examples/sales_by_region.kqf sales_by_region.kqf   (only the changed lines differ)"
    diff "$here/sales_by_region.kqf" sales_by_region.kqf || true
    echo
    run 1 query set sales_by_region.kqf PARAMETERS "bad=name" x
    run 2 query set sales_by_region.kqf OPTIONS x y
)
rm -rf "$queries"

echo "== Time stamps: the time now, a stamp read and written back, and stamps that do not parse"
run 0 time
run 0 time 11:30:2000:23:59:59.99
run 1 time 12:01:2000:00:00:00.00
run 1 time 01:01:2000:00:00:00

if [ -s "$failures" ]; then
    echo "demo: these commands did not end as expected:" >&2
    cat "$failures" >&2
    exit 1
fi
echo "demo: every command ended as expected"
