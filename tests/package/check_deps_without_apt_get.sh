#!/usr/bin/env bash
# Run as a test: .ci/deps on a machine without apt-get (a PATH holding only
# bash) must not stop at its first command but list what is missing, by
# Debian package name, and fail.
set -uo pipefail
deps=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
ln -s "$(command -v bash)" "$scratch/bash"
ln -s "$(command -v env)" "$scratch/env"
output=$(env -i PATH="$scratch" "$scratch/bash" "$deps" valgrind 2>&1)
status=$?
echo "$output"
[ $status -eq 1 ] || { echo "expected status 1, got $status"; exit 1; }
missing=$(grep '^exprcurve: missing' <<<"$output")
for package in cmake g++ libgtest-dev libcli11-dev valgrind; do
  [[ "$missing " == *" $package "* ]] || { echo "$package is not reported missing"; exit 1; }
done
grep -q "no apt-get" <<<"$output" || { echo "no word about apt-get"; exit 1; }
