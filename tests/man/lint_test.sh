#!/usr/bin/env bash
# lint_test.sh FOLDER: the pages there are mdoc without a mistake.
set -euo pipefail

if ! command -v mandoc >/dev/null; then
    echo "mandoc is missing, nothing was looked at (Debian package mandoc)"
    exit 1
fi
mandoc -Tlint -Wwarning "$1"/*.[1-9]
pages=("$1"/*.[1-9])
echo "${#pages[@]} pages"

# What is shown as it stands has room on a terminal of 80 columns.
for page in "${pages[@]}"; do
    mandoc -Tascii -Owidth=78 "$page" | sed 's/.\x08//g' | awk -v page="${page##*/}" \
        'length > 80 { print page ": too wide: " $0; wide = 1 } END { exit wide }'
done

# What the check would be worth that finds nothing.
broken=$(mktemp)
trap 'rm -f "$broken"' EXIT
printf '.Dd November 22, 2026\n.Dt X 1\n.Os\n.Sh NAME\n.Nm x\n.Nd y\n.Sh DESCRIPTION\n.Bl -tag\n.It a\n' >"$broken"
if mandoc -Tlint -Wwarning "$broken" >/dev/null; then
    echo "mandoc finds nothing wrong with a list that does not end"
    exit 1
fi
