#!/bin/sh
# One video on a cluster: a Slurm job array, and a job that joins its parts.
#
# usage: slurm.sh INPUT OUTPUT PARTS OPTION...       the options are those of "tarsel run"
#
# All nodes see the same folder. Prints the number of the job that joins. SBATCH_ARGUMENTS goes to sbatch, such as
# "--cpus-per-task 4 --time 60". Called again after a failure it goes on where it ended.
set -eu

input=$1 output=$2 count=$3
shift 3
mkdir -p "$output.parts"

# shellcheck disable=SC2086 # Words for sbatch.
array=$(sbatch --parsable --array="1-$count" --requeue --job-name=part --output="$output.parts/%a.log" \
    ${SBATCH_ARGUMENTS-} /dev/fd/3 "$input" "$output" "$@" 3<<'PART'
#!/bin/sh
input=$1 output=$2
shift 2
number=$SLURM_ARRAY_TASK_ID
exec tarsel run "$input" "$output.parts/$number.${output##*.}" --part "$number/$SLURM_ARRAY_TASK_COUNT" \
    --overwrite --threads "${SLURM_CPUS_PER_TASK:-1}" --progress none "$@"
PART
)
sbatch --parsable --dependency="afterok:$array" --kill-on-invalid-dep=yes --job-name=join \
    --output="$output.parts/join.log" /dev/fd/3 "$input" "$output" 3<<'JOIN'
#!/bin/sh
set -e
tarsel join "$1" "$2" "$2.parts"/*."${2##*.}" --progress none
rm -r "$2.parts"
JOIN
