#!/usr/bin/env bash
# Runs tests of the tool with vok.exe under wine: those that ask for nothing that only this system has.
# Usage: check_tool_tests.sh LINUX_BUILD WINDOWS_BUILD   (needs wine)
set -euo pipefail
linux=$(realpath "$1") windows=$(realpath "$2")
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export LC_ALL=C.UTF-8 WINEPREFIX=$windows/wine WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
WINE=$(command -v wine64 || command -v /usr/lib/wine/wine64)
export WINE VOK_EXE=$windows/vok.exe VOK_TOOL=$here/vok_under_wine.sh
trap '"$(dirname "$(readlink -f "$WINE")")"/wineserver -k || true' EXIT

# Left out are signals, pseudo-terminals, links, pipes with names, /dev/null, file names that only this system allows,
# and texts of the system itself.
suites='ApplyTest.*:ChangeTest.*:CheckTest.*:DiffTest.*:ExplainTest.*:HandTest.*:HistoryTest.*:InfoTest.*:ListTest.*'
suites+=':MapTest.*:NewTest.*:PackTest.*:RebuildTest.*:RebuildChoiceTest.*:RepairTest.*:TortureTest.*:UnpackTest.*'
only_here='ApplyTest.PackTakesEditsAndTellsThem:DiffTest.TroubleIsNoDifference:MapTest.ColoursATerminalAndNothingElse'
only_here+=':MapTest.PageIsOneFileWithItsDataOutOfReachOfTheMarkup:PackTest.NamesAWrongFieldWithItsPath'
only_here+=':RepairTest.KeepsPermissionsAndLinks'
"$linux/tests/tool/vok_tool_tests" --gtest_brief=1 --gtest_filter="$suites-$only_here"
