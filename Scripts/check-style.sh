#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Checks the style rules that can be checked in a few seconds. Prints each violation and exits with
# 1 if there was one.
set -uo pipefail
cd "$(dirname "$0")/.."

failed=0
violation() {
    echo "style: $1"
    failed=1
}
# report TEXT COMMAND...: every line that the command prints is a violation
report() {
    local text=$1 line
    shift
    while IFS= read -r line; do violation "$text: $line"; done < <("$@")
}

mapfile -t cxx < <(git ls-files --cached --others --exclude-standard '*.cpp' '*.h')
mapfile -t shell < <(git ls-files --cached --others --exclude-standard '*.sh' '.ci/run')
mapfile -t python < <(git ls-files --cached --others --exclude-standard '*.py')
mapfile -t forms < <(git ls-files --cached --others --exclude-standard '*.ui')
mapfile -t build < <(git ls-files --cached --others --exclude-standard '*CMakeLists.txt' '*.cmake')

# Formatting is checked by clang-format.
printf '%s\0' "${cxx[@]}" | xargs -0 -P "$(nproc)" -n 16 clang-format --dry-run -Werror || failed=1

# Every source starts with its copyright and licence.
# REUSE-IgnoreStart
for file in "${cxx[@]}" "${shell[@]}" "${python[@]}" "${build[@]}" "${forms[@]}"; do
    head -n 3 "$file" | grep -q 'SPDX-FileCopyrightText: The Brenvoka authors' &&
        head -n 4 "$file" | grep -q 'SPDX-License-Identifier: MIT' || violation "no SPDX lines: $file"
done
# REUSE-IgnoreEnd

# Each folder includes only headers of the layers that it may use according to Docs/layers.dot.
python3 -B Tests/Docs/test_layers.py Includes 2>/dev/null || violation 'a folder includes a layer that it must not use, see Tests/Docs/test_layers.py'
# Connections by name are checked only at run time.
report 'connect by pointer to member' \
    git grep -nE '\b(SIGNAL|SLOT)\(|\bsender\(\)' -- '*.cpp' '*.h'

# A misunderstanding of the protocol in shared code would not show in tests.
report 'the rehearsal server shares no code with the program' \
    git grep -nP '#include "(?!MediaServer/)|brenvoka-(?!build)' \
    -- Tools/MediaServer ':!*.md'

# Tests wait for conditions.
report 'a test sleeps instead of waiting for a condition' \
    git grep -nE 'QTest::qWait\(|QThread::(m|u)?sleep|this_thread::sleep' -- 'Tests/*.cpp' 'Tests/*.h'

# The build hands them out, so that no two test programs have the same; see Tests/Support/Loopback.h.
report 'an address that another test may have' \
    git grep -nE '127[\]*\.[1-8][0-9][\]*\.[0-9]+' -- 'Tests/*.cpp' 'Tests/*.h' 'Tests/*.py'

for file in "${shell[@]}"; do bash -n "$file" || violation "does not parse: $file"; done
python3 - "${python[@]}" <<'PY' || violation 'a Python file does not parse'
import ast, sys
for file in sys.argv[1:]:
    ast.parse(open(file, encoding="utf-8").read(), file)
PY

[ $failed -eq 0 ] && echo "style: ${#cxx[@]} C++ files, ${#python[@]} Python files and ${#shell[@]} scripts have no violations"
exit $failed
