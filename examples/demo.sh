#!/bin/sh
# The demo run of `make demo`: kotool over the library's main jobs on bundled inputs.
# Usage: sh examples/demo.sh BUILD_DIR
set -e
build=${1:-build}
kotool="$build/bin/kotool"
export LD_LIBRARY_PATH="$build/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"

run() {
    echo "\$ kotool $*"
    "$kotool" "$@" || true
    echo
}

echo "== Error messages worded through the error list and the message catalogue"
run msg 1509 /home/user/.odbc.ini
run msg 1523 /usr/lib/libmissing.so "cannot open shared object file"
run msg 2700 "AVERYLONGIDENTIFIER"
run msg 30041

echo "== LIKE matching"
run like "Customer Orders" "cust%ord%"
run like -c "Customer Orders" "cust%"
run like "100%" '100\%'
run like "ABC" "A_"

echo "== Scanner tokens of an SQL statement (type, offset, text)"
run tokens "SELECT o.id, 'O''Neil' AS name FROM orders o WHERE o.total >= 10.5 AND o.x <> {fn NOW()}"
run tokens "SELECT * FROM a, b /* join */ WHERE a.k = b.k(+) -- outer"

echo "== Connection strings: pairs and the string rebuilt from them"
run connstr "DSN=sales;UID=ann;PWD='se;cret'"
run connstr "ODBC;DRIVER={Ko Driver 2.0};Data Source=/srv/db;;Port=5432"
run connstr "DSN=a;UID=b;DSN=c"
run connstr "DSN=a;UID"

echo "== Where the configuration files resolve (bundled sample home in examples/home)"
here=$(cd "$(dirname "$0")" && pwd)
(
    export HOME="$here/home" ODBC_INI="$here/home/.odbc.ini" KO_SYSTEM_INI="$here/system.defaults"
    unset ODBCINI KO_ODBC_INI KOLIB_INI
    run files
    run locate .odbc.ini 0x02
)
run locate libkolib.so 0x08
run locate no-such-file.ini

echo "== Parsing SQL with the example grammar (examples/sql_grammar.txt)"
run parse "$here/sql_grammar.txt" "$here/sql_keywords.txt" "SELECT c.name, COUNT(*) AS n FROM customers c LEFT JOIN orders o ON o.cid = c.id GROUP BY c.name"
run parse "$here/sql_grammar.txt" "$here/sql_keywords.txt" "DELETE FROM orders WHERE status = 'void' OR total IS NULL"
run parse "$here/sql_grammar.txt" "$here/sql_keywords.txt" "SELECT a, FROM t"

echo "== Data sources and profile values (a copy of the sample home, so the bundled files stay as they are)"
home=$(mktemp -d)
cp -R "$here/home/." "$home/"
(
    export HOME="$home" ODBCINI="$home/.odbc.ini"
    unset ODBC_INI KO_ODBC_INI KOLIB_INI KO_SYSTEM_INI
    run dsn
    run get ODBC.INI Sales
    run get ODBC.INI Sales Database
    run set ODBC.INI Sales Port 5432
    run set ODBC.INI Reports Driver "Flat-file driver"
    run delete ODBC.INI Inventory
    run delete ODBC.INI Sales Description
    run get ODBC.INI "ODBC Data Sources" Inventory
    echo "\$ cat \$HOME/.odbc.ini"
    cat "$HOME/.odbc.ini"
)
rm -rf "$home"

echo "== A B-tree in the temporary store: 1,000 keys stay in memory, 50,000 spill (in a scratch KO_TMPDIR)"
spill=$(mktemp -d)
(
    export KO_TMPDIR="$spill"
    run tree 1000
    run tree 50000
    echo "\$ ls \$KO_TMPDIR   (the spill file is gone with its tree)"
    ls "$spill"
)
rm -rf "$spill"
