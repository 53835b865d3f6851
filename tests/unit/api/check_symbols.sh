#!/usr/bin/env bash
# Compares the library's exported C symbols with the POS_API declarations of the public
# headers. Usage: check_symbols.sh LIBRARY INCLUDE_DIR
set -euo pipefail
lib=$1
inc=$2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# Exported C symbols: defined, dynamic, unmangled.
nm -D --defined-only "$lib" | awk '{print $3}' | grep -v '^_Z' | grep -v '^_\(init\|fini\)$' |
    sed 's/@.*//' | sort -u >"$tmp/exported"

# Declared API: the name declared by each POS_API declaration of the C headers (the C++
# service headers live in include/pos_sdk/service/ and are not scanned).
perl -0777 -ne '
    s{/\*.*?\*/}{}gs; s{//[^\n]*}{}g;              # comments
    s{__attribute__\s*\(\(.*?\)\)}{}gs;          # attributes
    s{^\s*#[^\n]*}{}gm;                               # preprocessor lines
    for my $decl (split /;/) {
        next unless $decl =~ /\bPOS_API\b/ && $decl !~ /#\s*define/;
        $decl =~ s/\s+/ /g;
        # function: the identifier before the first "(" that is not a function pointer
        if ($decl =~ /([A-Za-z_]\w*)\s*\((?!\s*\*)/) { print "$1\n"; next; }
        # data: the last identifier, before any array bound
        $decl =~ s/\[.*//;
        print "$1\n" if $decl =~ /([A-Za-z_]\w*)\s*$/;
    }' "$inc"/*.h | sort -u >"$tmp/declared"

status=0
if ! comm -23 "$tmp/declared" "$tmp/exported" >"$tmp/missing" || [ -s "$tmp/missing" ]; then
    echo "declared in a public header but not exported:"
    cat "$tmp/missing"
    status=1
fi
if ! comm -13 "$tmp/declared" "$tmp/exported" >"$tmp/extra" || [ -s "$tmp/extra" ]; then
    echo "exported but not declared in a public header:"
    cat "$tmp/extra"
    status=1
fi
[ $status -eq 0 ] && echo "$(wc -l <"$tmp/exported") exported C symbols, all declared"
exit $status
