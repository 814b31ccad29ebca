#!/usr/bin/env bash
# A Slurm of this machine alone, for as long as one batch takes: starts munged, slurmctld and slurmd as processes, with a
# configuration, key and state of their own in a scratch folder, submits examples/slurm/batch.sbatch, waits for it, and
# ends them all. Needs Debian's slurmctld, slurmd, slurm-client and munge, root, and no systemd.
# Usage: PYTHONPATH=build/release/python tools/slurm_on_one_node.sh JOBS RESULTS [OPTIONS OF qelt.batch...]
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
tasks=${QELT_SLURM_TASKS:-3}
jobs=$(realpath "$1")
mkdir -p "$2"
results=$(realpath "$2")
shift 2

for program in munged slurmctld slurmd sbatch srun; do
    command -v "$program" >/dev/null || PATH=$PATH:/usr/sbin
    command -v "$program" >/dev/null || { echo "$program is missing: install slurmctld slurmd slurm-client munge" >&2; exit 1; }
done

scratch=$(mktemp -d)
chmod 755 "$scratch"
daemons=()
finish() {
    for ((i = ${#daemons[@]} - 1; i >= 0; --i)); do
        kill "${daemons[i]}" 2>/dev/null || true
        wait "${daemons[i]}" 2>/dev/null || true
    done
    rm -rf "$scratch"
}
trap finish EXIT

free_port() {
    /usr/bin/python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

# wait_for WHAT COMMAND...: until the command succeeds, a minute at most.
wait_for() {
    local what=$1
    shift
    for _ in $(seq 120); do
        "$@" >/dev/null 2>&1 && return
        sleep 0.5
    done
    echo "$what did not come up" >&2
    tail -n 20 "$scratch"/*.log >&2
    exit 1
}

host=$(hostname -s)
user=$(id -un)
mkdir "$scratch/state" "$scratch/spool"
dd if=/dev/urandom of="$scratch/munge.key" bs=1024 count=1 status=none
chmod 400 "$scratch/munge.key"
cat >"$scratch/slurm.conf" <<END
ClusterName=one
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$(free_port)
SlurmdPort=$(free_port)
SlurmUser=$user
SlurmdUser=$user
AuthType=auth/munge
AuthInfo=socket=$scratch/munge.socket
CredType=cred/munge
StateSaveLocation=$scratch/state
SlurmdSpoolDir=$scratch/spool
SlurmctldPidFile=$scratch/slurmctld.pid
SlurmdPidFile=$scratch/slurmd.pid
SlurmctldLogFile=$scratch/slurmctld.log
SlurmdLogFile=$scratch/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
AccountingStorageType=accounting_storage/none
JobAcctGatherType=jobacct_gather/none
MpiDefault=none
SwitchType=switch/none
SlurmdParameters=config_overrides
ReturnToService=2
NodeName=$host NodeAddr=127.0.0.1 CPUs=$tasks State=UNKNOWN
PartitionName=all Nodes=$host Default=YES MaxTime=INFINITE State=UP
END
export SLURM_CONF=$scratch/slurm.conf

munged --foreground --force --key-file="$scratch/munge.key" --socket="$scratch/munge.socket" \
    --pid-file="$scratch/munged.pid" --seed-file="$scratch/munge.seed" --log-file="$scratch/munged.log" \
    >"$scratch/munged.out.log" 2>&1 &
daemons+=($!)
wait_for munged test -S "$scratch/munge.socket"
slurmctld -D -i -f "$SLURM_CONF" >"$scratch/slurmctld.out.log" 2>&1 &
daemons+=($!)
wait_for slurmctld scontrol ping
slurmd -D -f "$SLURM_CONF" >"$scratch/slurmd.out.log" 2>&1 &
daemons+=($!)
wait_for slurmd sh -c "sinfo --noheader --format=%T | grep --quiet '^idle$'"
sinfo

status=0
sbatch --wait --ntasks="$tasks" --output="$results/slurm-%j.log" --export=ALL \
    "$source_dir/examples/slurm/batch.sbatch" "$jobs" "$results" "$@" || status=$?
cat "$results"/slurm-*.log
exit "$status"
