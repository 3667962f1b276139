#!/usr/bin/env bash
# vok.exe as if it were a program of this system; VOK_EXE names it, and WINE what runs it.
exec "$WINE" "$VOK_EXE" "$@"
