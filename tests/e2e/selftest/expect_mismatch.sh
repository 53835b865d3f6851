#!/bin/sh
# Usage: expect_mismatch.sh POS_SIM POS_SELFTEST SCENARIO
# Runs the self-test on the default terminal while telling it to expect SCENARIO: it must end
# with a non-zero status and name the readings that differ, not merely fail to start.
sim=$1
selftest=$2
scenario=$3
if out=$("$sim" run -- "$selftest" --auto --scenario "$scenario" 2>/dev/null); then
    echo "$out"
    echo "the self-test passed on a terminal that does not match its scenario"
    exit 1
fi
echo "$out"
for line in "[FAIL] battery capacity 85 %: expected 64" \
            "[FAIL] listed: com.acme.pay \"Pay\" V1.0.0-7: missing" \
            "[ OK ] SHA-256 of \"abc\"" \
            "== summary: "; do
    case $out in
    *"$line"*) ;;
    *) echo "missing from the output: $line"; exit 1 ;;
    esac
done
