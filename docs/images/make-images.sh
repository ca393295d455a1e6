#!/usr/bin/env bash
# Regenerates the pictures of docs/curves.md with the exprcurve tool:
#   bash docs/images/make-images.sh build/release/tools/exprcurve
set -euo pipefail
tool=${1:?usage: make-images.sh PATH/TO/exprcurve}
cd "$(dirname "$0")"
# The example curve of the page: points (0,0) bezier, (1,2) linear,
# (2,1) TCB and (3,1.5) TCB; modes are written per picture.
points='0
0
0
0
0
0
0
0
4
1
0
2
1
0
0
0
0
0
0
0
0
0
1
2
0
0
0
0
0
0
0
2
0
1.5
3
0
0
0
0
0
0
0
2
0'
for mode in 0:zero 1:constant 2:cycle 3:cycle-offset 4:linear; do
  code=${mode%%:*}; name=${mode#*:}
  printf '4\n1\n%s\n%s\n' "$code" "$points" > "mode-$name.curve"
  "$tool" plot "mode-$name.curve" --from -1 --to 8 -o "mode-$name.svg"
  rm "mode-$name.curve"
done
