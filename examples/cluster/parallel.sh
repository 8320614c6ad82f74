#!/bin/sh
# One video on all processors of a machine, or of several: GNU parallel.
#
# usage: parallel.sh INPUT OUTPUT PARTS OPTION...    the options are those of "tarsel run"
#
# PARALLEL="--sshloginfile hosts" runs it on the machines that the file names, which see the same folder.
# Called again after a failure it goes on where it ended.
set -eu

input=$1 output=$2 count=$3
shift 3
folder=$output.parts
extension=${output##*.}
mkdir -p "$folder"

seq "$count" | parallel --quote --retries 3 --halt now,fail=1 --workdir . \
    tarsel run "$input" "$folder/{}.$extension" --part "{}/$count" --overwrite --threads 1 --quiet "$@"
tarsel join "$input" "$output" "$folder"/*."$extension"
rm -r "$folder"
