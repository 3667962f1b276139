# shellcheck shell=bash
# Steps with a name: one that fails says which it was, and each says how long it took.

step_title=
scratch=$(mktemp -d)

at_exit() {
  local status=$?
  rm -rf "$scratch"
  [ -z "$step_title" ] || echo "dev: FAILED: $step_title (status $status)" >&2
}
trap at_exit EXIT

# step TITLE COMMAND...
step() {
  step_title=$1
  shift
  local begin=$SECONDS
  printf '\n== %s\n' "$step_title"
  "$@"
  printf '== %s: done in %s s\n' "$step_title" $((SECONDS - begin))
  step_title=
}

# Runs a command whose output matters only when it fails.
quietly() {
  "$@" >"$scratch/log" 2>&1 && return
  local status=$?
  cat "$scratch/log" >&2
  echo "dev: $* gave status $status" >&2
  return "$status"
}
