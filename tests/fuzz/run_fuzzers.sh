#!/usr/bin/env bash
# Runs every fuzz_* executable in BUILD_DIR for SECONDS each, starting from its corpus: the seeds
# (a target that supports `--write-seeds DIR` writes its own; the others get the inline seeds below)
# and the minimised corpus kept in tests/fuzz/corpus/NAME.hex (one input per line, as hex text).
# With --refresh-corpus, each target's corpus after the run is minimised (libFuzzer's merge) and
# written back to its .hex file; the long runs before a release use that.
# Exits non-zero when a target crashes (its input is kept under BUILD_DIR/fuzz-artifacts/).
#
# usage: tests/fuzz/run_fuzzers.sh BUILD_DIR SECONDS [--refresh-corpus]
#   LUMADISC_FUZZ_TARGETS="fuzz_a fuzz_b" runs only those targets.
set -u

if [ $# -lt 2 ] || [ $# -gt 3 ] || ! [ -d "$1" ] || ! [[ "$2" =~ ^[0-9]+$ ]] ||
   { [ $# -eq 3 ] && [ "$3" != "--refresh-corpus" ]; }; then
    echo "usage: $0 BUILD_DIR SECONDS [--refresh-corpus]" >&2
    exit 2
fi
build_dir=$(cd "$1" && pwd)
seconds=$2
refresh=${3:-}
kept_corpus="$(cd "$(dirname "$0")" && pwd)/corpus"
kept_limit=262144  # bytes of hex text kept per target
artifacts="$build_dir/fuzz-artifacts"
logs="$build_dir/fuzz-logs"
mkdir -p "$artifacts" "$logs"
work=$(mktemp -d "${TMPDIR:-/tmp}/lumadisc-fuzz-run-XXXXXX")
trap 'rm -rf "$work"' EXIT

# Inline seeds for targets that cannot write their own: one file per here-document.
inline_seeds() {
    local name=$1 dir=$2
    case "$name" in
    fuzz_settings)
        cat >"$dir/plain.ini" <<'EOF'
[cd selection]
current = /tmp/disc.cue
[cdrom property]
caching = true
cachinglevel = 20000
EOF
        printf '[misc]\r\ncoveropened = true ; a comment\r\n[enable log]\r\nenablelogging = 1\r\n' >"$dir/crlf.ini"
        printf '[unclosed\nkey without equals\n' >"$dir/broken.ini"
        ;;
    fuzz_ppf)
        # Version 1 (records from byte 56) and version 3 without block check (from byte 60), one
        # record each: 4 bytes at sector 16, byte 24.
        { printf 'PPF10\000'; printf '%50s' ''; printf '\030\223\000\000\004abcd'; } >"$dir/v1.ppf"
        { printf 'PPF30\002'; printf '%50s' ''; printf '\000\000\000\000';
          printf '\030\223\000\000\000\000\000\000\004abcd'; } >"$dir/v3.ppf"
        ;;
    fuzz_cue_sheet)
        cat >"$dir/mixed.cue" <<'EOF'
FILE "disc.bin" BINARY
  TRACK 01 MODE2/2352
    INDEX 01 00:00:00
  TRACK 02 AUDIO
    INDEX 00 00:04:00
    INDEX 01 00:06:00
EOF
        ;;
    fuzz_clonecd)
        printf '[CloneCD]\r\nVersion=3\r\n[TRACK 1]\r\nMODE=2\r\nINDEX 1=0\r\n[TRACK 2]\r\nMODE=0\r\nINDEX 0=300\r\nINDEX 1=450\r\n' \
            >"$dir/two.ccd"
        ;;
    fuzz_mds)
        # One track at 00:02:00: the count at byte 110, the position at 369, 378 bytes in all.
        { head -c 110 /dev/zero; printf '\001'; head -c 258 /dev/zero; printf '\000\002\000'; head -c 6 /dev/zero; } \
            >"$dir/one.mds"
        ;;
    fuzz_toc)
        # Length 24: the lead-out (0xA2) at 00:04:00, then data track 1 at 00:02:00.
        printf '\000\030\001\001\001\020\000\242\000\000\000\000\000\004\000\001\024\000\001\000\000\000\000\000\002\000' \
            >"$dir/one.toc"
        ;;
    fuzz_xa)
        # Records of a control byte and a sector from its subheader on: a first sector decoded directly
        # (mono, 37800 Hz), and one through the hand-off with XA on (stereo, 18900 Hz); 18 sound groups
        # whose units all use filter 1 (2 in the second), range 4, nibbles 7 and 1.
        for seed in '\002 \000 \024 \027 mono' '\301 \005 \044 \161 stereo'; do
            set -- $seed
            { printf "$1\001\001\144$2\001\001\144$2"
              for group in $(seq 18); do
                  head -c 16 /dev/zero | tr '\0' "$3"
                  head -c 112 /dev/zero | tr '\0' "$4"
              done; } >"$dir/$5.xa"
        done
        ;;
    esac
}

found=0
failed=()
for fuzzer in "$build_dir"/fuzz_*; do
    [ -f "$fuzzer" ] && [ -x "$fuzzer" ] || continue
    name=$(basename "$fuzzer")
    if [ -n "${LUMADISC_FUZZ_TARGETS:-}" ] && ! [[ " $LUMADISC_FUZZ_TARGETS " == *" $name "* ]]; then
        continue
    fi
    found=$((found + 1))
    corpus="$work/$name"
    mkdir -p "$corpus"
    if grep -qa -- '--write-seeds' "$fuzzer"; then
        if ! "$fuzzer" --write-seeds "$corpus" >"$logs/$name.seeds.log" 2>&1; then
            echo "$name: --write-seeds failed; starting from the inline seeds" >&2
            inline_seeds "$name" "$corpus"
        fi
    else
        inline_seeds "$name" "$corpus"
    fi
    if [ -f "$kept_corpus/$name.hex" ]; then
        n=0
        while IFS= read -r line; do
            [ -n "$line" ] || continue
            n=$((n + 1))
            printf '%s' "$line" | xxd -r -p >"$corpus/kept-$n"
        done <"$kept_corpus/$name.hex"
    fi
    echo "== $name: ${seconds}s from $(ls "$corpus" | wc -l) inputs"
    # A hostile input may not take more than 5 s or 256 MB: either is a finding, like a crash. The
    # sanitizer's own quarantine of freed memory is kept small, so that the bound measures the code.
    ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}quarantine_size_mb=16:malloc_context_size=10 \
    "$fuzzer" -max_total_time="$seconds" -timeout=5 -rss_limit_mb=256 -print_final_stats=1 \
        -artifact_prefix="$artifacts/$name-" "$corpus" >"$logs/$name.log" 2>&1
    status=$?
    grep -E '^stat::number_of_executed_units|^stat::peak_rss_mb|^#[0-9]+.*DONE' "$logs/$name.log" | sed 's/^/   /'
    if [ $status -ne 0 ]; then
        echo "$name: FAILED (exit $status); log: $logs/$name.log" >&2
        tail -n 40 "$logs/$name.log" >&2
        failed+=("$name")
    elif [ "$refresh" = "--refresh-corpus" ]; then
        minimised="$work/$name.min"
        mkdir -p "$minimised" "$kept_corpus"
        "$fuzzer" -merge=1 "$minimised" "$corpus" >"$logs/$name.merge.log" 2>&1
        # The smallest inputs first, up to a bound, so that the kept corpus stays small text; a target
        # whose inputs are all larger (compressed images) keeps none and starts from its seeds.
        kept_bytes=0
        : >"$kept_corpus/$name.hex.new"
        for input in $(ls -Sr "$minimised"); do
            size=$(stat -c %s "$minimised/$input")
            kept_bytes=$((kept_bytes + 2 * size + 1))
            [ "$kept_bytes" -le "$kept_limit" ] || break
            xxd -p -c 0 "$minimised/$input" >>"$kept_corpus/$name.hex.new"
        done
        sort "$kept_corpus/$name.hex.new" >"$kept_corpus/$name.hex"
        rm -f "$kept_corpus/$name.hex.new"
        [ -s "$kept_corpus/$name.hex" ] || rm -f "$kept_corpus/$name.hex"
        kept_lines=0
        [ -f "$kept_corpus/$name.hex" ] && kept_lines=$(wc -l <"$kept_corpus/$name.hex")
        echo "   corpus: $(ls "$corpus" | wc -l) inputs after the run, $(ls "$minimised" | wc -l) minimised," \
             "$kept_lines kept"
    fi
done

if [ $found -eq 0 ]; then
    echo "no fuzz_* executables in $build_dir (configure with -DLUMADISC_FUZZ=ON)" >&2
    exit 1
fi
echo "$((found - ${#failed[@]})) passed, ${#failed[@]} failed"
[ ${#failed[@]} -eq 0 ]
