# shellcheck shell=bash
# What `./dev run` shows.

# Takes the sample apart, changes an item, adds one, packs the result, mounts it and shows the difference.
run_sample() {
  local work=$scratch/sample
  mkdir "$work"
  local vok=build/release/vok
  local sample=(--psdt samples/psdt.bin --codeplug samples/codeplug.bin)
  show() {
    printf '\n$ vok %s\n' "${*//$work\//}"
    "$vok" "$@"
  }
  show "${sample[@]}" info
  show "${sample[@]}" list
  show "${sample[@]}" check
  show "${sample[@]}" unpack "$work/before"

  cp samples/codeplug.bin "$work/codeplug.bin"
  local changed=(--psdt samples/psdt.bin --codeplug "$work/codeplug.bin")
  local first
  first=$(cd "$work/before" && ls -d [A-Z]*/*.bin | sort -V | head -n 1)
  local type_id
  type_id=$(basename "$first" .bin)
  printf 'changed by ./dev run' >"$work/text"
  show "${changed[@]}" write "${type_id%-*}" "${type_id#*-}" "$work/text"
  show "${changed[@]}" write "${type_id%-*}" new "$work/text"
  show "${changed[@]}" unpack "$work/after"
  show pack "$work/after" -o "$work/packed.bin"
  local packed=(--psdt "$work/after/psdt.bin" --codeplug "$work/packed.bin")
  show "${packed[@]}" check
  show diff "$work/before" "$work/after" || true
  show diff "$work/after" "$work/after/psdt.bin+$work/packed.bin"
  printf '\n%s items came out of the sample.\n' "$(find "$work/before" -mindepth 2 -name '*.bin' | wc -l)"
}
