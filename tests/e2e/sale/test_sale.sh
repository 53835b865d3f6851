#!/usr/bin/env bash
# The sale application on a terminal with a chip card in the slot and scripted PINs: the first
# sale is approved (exit 0), stored with its DUKPT PIN block and spoken; the second, whose PIN
# entry is cancelled, is declined (exit 1) and stores nothing.
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
    /bin/sh -c "'$sale' --amount 1250 > '$out/first.txt'; echo \$? > '$out/first.status';
                '$sale' --amount 700 > '$out/second.txt'; echo \$? > '$out/second.status';
                '$sale' --list" > "$out/list.txt" 2> "$out/log.txt" || status=$?
cat "$out/first.txt" "$out/second.txt" "$out/list.txt"
[ "$status" -eq 0 ] || fail "pos-sim ended with status $status: $(tail -5 "$out/log.txt")"
[ "$(cat "$out/first.status")" = 0 ] || fail "the first sale was not approved"
[ "$(cat "$out/second.status")" = 1 ] || fail "the cancelled sale did not end with status 1"
grep -qx "card chip 476173\*\*\*\*\*\*0010" "$out/first.txt" || fail "the chip card's PAN was not read"
grep -qx "declined: PIN cancelled" "$out/second.txt" || fail "the cancelled PIN was not reported"

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

# The receipt as the printer made it, decoded.
receipt=$(find "$out" -name '*receipt*.png' | head -1)
if [ -n "$receipt" ]; then
    python3 -c "import sys,zlib,struct
d=open(sys.argv[1],'rb').read(); assert d[:8]==b'\x89PNG\r\n\x1a\n'
w,h=struct.unpack('>II',d[16:24]); assert w>0 and h>0
i=8; idat=b''
while i<len(d):
    n,t=struct.unpack('>I4s',d[i:i+8]); idat+=d[i+8:i+8+n] if t==b'IDAT' else b''; i+=12+n
zlib.decompress(idat)" "$receipt" || fail "$receipt does not decode"
else
    grep -q "^APPROVED$" "$out/first.txt" || fail "no receipt"
    echo "sale test: no printer on this build, the receipt was checked as text"
fi
echo "sale approved, stored, spoken; cancelled sale declined"
