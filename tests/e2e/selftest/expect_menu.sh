#!/bin/sh
# Usage: expect_menu.sh POS_SIM POS_SELFTEST
# Drives the menu: section 2 by number, 7 (not available), a bad choice, then quit. Only the
# chosen section runs, and the program ends with status 0.
sim=$1
selftest=$2
if ! out=$(printf '2\n7\n0\nq\n' | "$sim" run -- "$selftest" 2>/dev/null); then
    echo "$out"
    echo "the menu run ended with a failure"
    exit 1
fi
echo "$out"
for line in "== Logging" "[ OK ] OsLogSetTag sets the tag" "== Wi-Fi
[ -- ] not available on this build" "choose 1 to " "== summary: 5 passed, 0 failed"; do
    case $out in
    *"$line"*) ;;
    *) echo "missing from the output: $line"; exit 1 ;;
    esac
done
case $out in
*"== Database"*) echo "a section that was not chosen ran"; exit 1 ;;
esac
