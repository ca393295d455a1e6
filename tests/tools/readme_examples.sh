#!/usr/bin/env bash
# Run as a test: the README's tool examples (the first sh block under
# "## The tool"), run as written from the top of the source tree, except that
# the scratch folder is this test's own and the tool is this build's.
#   readme_examples.sh SOURCE_DIR TOOL_DIR SCRATCH_DIR
set -euo pipefail
source_dir=$1
tool_dir=$2
scratch=$3
rm -rf "$scratch"

block=$(awk '/^## The tool/ { section = 1; next }
             section && /^```sh/ { inside = 1; next }
             inside && /^```/ { exit }
             inside { print }' "$source_dir/README.md")
[ -n "$block" ] || { echo "no sh block under '## The tool' in README.md"; exit 1; }
grep -q '/tmp/exprcurve-try' <<<"$block" || { echo "the block no longer uses /tmp/exprcurve-try"; exit 1; }
grep -q 'build/release/tools' <<<"$block" || { echo "the block no longer names build/release/tools"; exit 1; }
block=${block//\/tmp\/exprcurve-try/$scratch}
block=${block//\$OLDPWD\/build\/release\/tools/$tool_dir}

cd "$source_dir"
status=0
while IFS= read -r line; do
  echo "\$ $line"
  eval "$line" </dev/null || { status=$?; echo "!! exit status $status: $line"; break; }
done <<<"$block"
rm -rf "$scratch"
exit $status
