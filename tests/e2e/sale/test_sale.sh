#!/usr/bin/env bash
# The sale application on a terminal with a chip card in the slot and scripted PINs: the first
# sale, its amount typed on the screen by an input script that takes screenshots, is approved
# (exit 0), stored with its DUKPT PIN block, spoken and its receipt printed; the second, whose PIN
# entry is cancelled, is declined (exit 1) and stores nothing. A sale on a printer out of paper is
# still approved and stored, and says its receipt was not printed.
# Usage: test_sale.sh BUILD_DIR SALE_SOURCE_DIR
set -euo pipefail
build=$1
src=$2
unset LD_LIBRARY_PATH
prefix=$(mktemp -d /tmp/pos-sale-prefix.XXXXXX)
out=$(mktemp -d /tmp/pos-sale-out.XXXXXX)
trap 'rm -rf "$prefix" "$out"' EXIT
fail() { echo "sale test: $*" >&2; exit 1; }

"$src/build.sh" "$build" "$prefix"
sale=$prefix/sale-build/sale

# Both sales and the list in one run: the database lives as long as the terminal.
status=0
"$prefix/bin/pos-sim" run --keep "$prefix" --scenario "$src/scripted.json" --out "$out" -- \
    /bin/sh -c "POS_PANELUI_INPUT='$src/input.txt' POS_PANELUI_OUT='$out' '$sale' > '$out/first.txt';
                echo \$? > '$out/first.status';
                '$sale' --amount 700 > '$out/second.txt'; echo \$? > '$out/second.status';
                '$sale' --list" > "$out/list.txt" 2> "$out/log.txt" || status=$?
cat "$out/first.txt" "$out/second.txt" "$out/list.txt"
[ "$status" -eq 0 ] || fail "pos-sim ended with status $status: $(tail -5 "$out/log.txt")"
[ "$(cat "$out/first.status")" = 0 ] || fail "the first sale was not approved"
[ "$(cat "$out/second.status")" = 1 ] || fail "the cancelled sale did not end with status 1"
grep -qx "card chip 476173\*\*\*\*\*\*0010" "$out/first.txt" || fail "the chip card's PAN was not read"
grep -qx "declined: PIN cancelled" "$out/second.txt" || fail "the cancelled PIN was not reported"

# The screens, decoded: the amount view up over the white screen (its title bar where the sale's
# screens are white), then the card prompt and the result under the sale's own title bar.
pixels() { /usr/bin/python3 "$(dirname "$0")/png_pixels.py" "$@" | tr '\n' ' '; }
for screen in amount-entry card-prompt result; do
    [ -f "$out/$screen.png" ] || fail "no screenshot $screen.png"
done
[ "$(pixels "$out/amount-entry.png" 400,200 400,360)" = "800x1320 ffffff 2e2bff " ] ||
    fail "the amount view was not up: $(pixels "$out/amount-entry.png" 400,200 400,360)"
for screen in card-prompt result; do
    [ "$(pixels "$out/$screen.png" 400,200 400,360)" = "800x1320 2e2bff ffffff " ] ||
        fail "$screen.png is not the sale's screen: $(pixels "$out/$screen.png" 400,200 400,360)"
done
! cmp -s "$out/card-prompt.png" "$out/result.png" || fail "the result did not change the screen"

# One record: amount, method, masked PAN, the KSN of the first DUKPT transaction, a PIN block.
grep -qx "1 sale" "$out/list.txt" || fail "not exactly one sale stored"
record=$(grep '|' "$out/list.txt" | sed 's/^ *//')
IFS='|' read -r date amount method pan ksn block <<<"$record"
[[ $date =~ ^20[0-9]{2}-[0-9]{2}-[0-9]{2}\ [0-9:]{8}$ ]] || fail "record date: $date"
[ "$amount|$method|$pan" = "12.50|chip|476173******0010" ] || fail "record: $record"
[ "$ksn" = "FFFF9876543210E00001" ] || fail "record KSN: $ksn"
[[ $block =~ ^[0-9A-F]{16}$ ]] || fail "record PIN block: $block"

# "approved" spoken: a whole RIFF/WAVE file with samples.
wav=$(find "$out/tts" -name 'speech-*.wav' | head -1)
[ -n "$wav" ] || fail "nothing spoken"
[ "$(head -c 4 "$wav")" = RIFF ] && [ "$(dd if="$wav" bs=1 skip=8 count=4 2>/dev/null)" = WAVE ] ||
    fail "$wav is not a WAVE file"
riff_size=$(od -An -tu4 -j4 -N4 "$wav" | tr -d ' ')
[ $((riff_size + 8)) -eq "$(stat -c %s "$wav")" ] && [ "$riff_size" -gt 1000 ] ||
    fail "$wav is cut short or empty"

# The first sale's receipt as the printer made it: the whole paper wide, its lines in the SDK's
# glyphs where the sale put them (APPROVED centred), the amount and card of this sale.
receipts=$(find "$out/receipts" -name 'receipt-*.png' 2>/dev/null | sort)
[ "$receipts" = "$out/receipts/receipt-0001.png" ] || fail "not one receipt printed: $receipts"
text=$(/usr/bin/python3 "$(dirname "$0")/receipt_text.py" "$prefix/lib/libpos_sdk.so" "$receipts" \
    "SALE 000001" "${date%% *}" "chip 476173******0010" 'AMOUNT  $ 12.50' APPROVED) ||
    fail "the receipt lacks a line: $text"
[ "$(head -1 <<<"$text")" = 384x248 ] || fail "receipt size: $(head -1 <<<"$text")"
grep -qx "APPROVED: 128,[0-9]*" <<<"$text" || fail "APPROVED not centred: $text"

# Out of paper: the sale is still stored and approved, and says the receipt was not printed.
paperless=$out/paperless
mkdir "$paperless"
/usr/bin/python3 -c 'import json, sys
scenario = json.load(open(sys.argv[1]))
scenario["printer"] = {"paper_out": True}
json.dump(scenario, open(sys.argv[2], "w"))' "$src/scripted.json" "$paperless/scenario.json"
status=0
"$prefix/bin/pos-sim" run --keep "$prefix" --scenario "$paperless/scenario.json" \
    --out "$paperless" -- /bin/sh -c "POS_PANELUI_INPUT='$src/input.txt' \
        POS_PANELUI_OUT='$paperless' '$sale'; echo status \$?; '$sale' --list" \
    > "$paperless/sale.txt" 2> "$paperless/log.txt" || status=$?
[ "$status" -eq 0 ] || fail "pos-sim without paper ended with $status: $(tail -5 "$paperless/log.txt")"
grep -qx "status 0" "$paperless/sale.txt" || fail "the sale without paper was not approved"
grep -qx "receipt not printed: the printer is out of paper" "$paperless/sale.txt" ||
    fail "the sale did not say the receipt was not printed: $(cat "$paperless/sale.txt")"
grep -q "not printed: the printer is out of paper" "$paperless/log.txt" ||
    fail "the log does not say the receipt was not printed"
grep -q "|12.50|chip|476173\*\*\*\*\*\*0010|" "$paperless/sale.txt" ||
    fail "the sale without paper was not stored"
[ -z "$(find "$paperless" -name 'receipt-*.png')" ] || fail "a receipt came out without paper"
# Its APPROVED screen is the printed sale's with the reason above "PRESS ANY KEY": the two differ
# only in text lines 3 and 4 (213 rows each, under a 40-row bar), the amount and card unchanged.
# The bar itself is left out: its clock may have turned a minute between the two sales.
rows=$(/usr/bin/python3 -c 'import sys
sys.path.insert(0, sys.argv[1])
from png_pixels import decode
printed, paperless = decode(sys.argv[2])[3], decode(sys.argv[3])[3]
rows = [y for y, (a, b) in enumerate(zip(printed, paperless)) if a != b and y >= 40]
print(f"{rows[0]}-{rows[-1]}" if rows else "none")' "$(dirname "$0")" "$out/result.png" "$paperless/result.png")
[[ $rows =~ ^([0-9]+)-([0-9]+)$ ]] && [ "${BASH_REMATCH[1]}" -ge 679 ] &&
    [ "${BASH_REMATCH[2]}" -lt 1105 ] ||
    fail "the screen does not say the receipt was not printed (rows $rows differ)"
echo "sale approved, stored, spoken, receipt printed; cancelled sale declined; no paper, no receipt"
