#!/bin/sh
# Runs the Slurm line of the documentation, as it is written there, on a Slurm of one node that is started for it.
# usage: recipe.sh TOOL DOCUMENT WORK   (exits with 77, and says why, where Slurm cannot be started)
set -eu
tool=$1
document=$2
rm -rf "$3"
mkdir -p "$3"
work=$(cd "$3" && pwd)

skip() {
    echo "skipped: $1"
    [ ! -f "$work/slurm/slurmctld.log" ] || tail -n 5 "$work/slurm"/*.log
    exit 77
}

PATH=$PATH:/usr/sbin:/sbin
for program in munged slurmctld slurmd sbatch; do
    command -v $program >/dev/null || skip "$program is not installed"
done
[ "$(id -u)" = 0 ] || skip "slurmd must be started as root"

# Sockets have short paths only, and munged wants no directory that others may write to.
slurm=$(mktemp -d /tmp/slurm.XXXXXX)
ln -s "$slurm" "$work/slurm"
chmod 755 "$slurm"
mkdir "$slurm/state" "$slurm/spool"
stop() {
    for daemon in slurmd slurmctld munged; do
        [ -s "$slurm/$daemon.pid" ] || continue
        pid=$(cat "$slurm/$daemon.pid")
        while kill "$pid" 2>/dev/null; do sleep 0.1; done
    done
    rm -rf "$slurm"
}
trap stop EXIT INT TERM

head -c 1024 /dev/urandom >"$slurm/key"
chmod 600 "$slurm/key"
munged --force --key-file="$slurm/key" --socket="$slurm/munge.socket" --pid-file="$slurm/munged.pid" \
    --log-file="$slurm/munged.log" --seed-file="$slurm/seed" || skip "munged does not start"
port=$((20000 + $$ % 10000))
cat >"$slurm/slurm.conf" <<END
ClusterName=test
SlurmctldHost=localhost
SlurmUser=root
SlurmctldPort=$port
SlurmdPort=$((port + 1))
AuthType=auth/munge
AuthInfo=socket=$slurm/munge.socket
StateSaveLocation=$slurm/state
SlurmdSpoolDir=$slurm/spool
SlurmctldPidFile=$slurm/slurmctld.pid
SlurmdPidFile=$slurm/slurmd.pid
SlurmctldLogFile=$slurm/slurmctld.log
SlurmdLogFile=$slurm/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SlurmdParameters=config_overrides
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
NodeName=localhost CPUs=100 State=UNKNOWN
PartitionName=main Nodes=ALL Default=YES State=UP
END
export SLURM_CONF="$slurm/slurm.conf"
slurmctld && slurmd -N localhost || skip "the daemons do not start"
tries=0
until sinfo -h -o %t 2>/dev/null | grep -q idle; do
    tries=$((tries + 1))
    [ $tries -lt 100 ] || skip "the node does not become idle"
    sleep 0.2
done

# Models of different sizes, one with a space in its name.
cd "$work"
mkdir models
for n in 1 2 3 4 5 6 7 8 9; do
    awk -v n="$n" 'BEGIN {
        for (y = 0; y <= n; y++) for (x = 0; x <= n; x++) print "v", x, y, 0
        for (y = 0; y < n; y++) for (x = 0; x < n; x++) {
            a = y * (n + 1) + x + 1
            print "f", a, a + 1, a + n + 1
            print "f", a + 1, a + n + 2, a + n + 1
        }
    }' >"models/grid $n.obj"
done
ls models/*.obj >models.txt

line=$(grep -m 1 '^sbatch ' "$document")
PATH=$(dirname "$tool"):$PATH sh -c "$line"
while [ -n "$(squeue -h)" ]; do sleep 0.2; done

"$tool" strip models/*.obj -d serial >/dev/null
diff -r serial strips || { cat slurm-*.out && exit 1; }
printf '%s jobs: %s\n' "$(find . -name "slurm-*.out" | wc -l)" "$line"
