#!/usr/bin/env bash
# usage: slurm_test.sh IDPHOTO SAMPLE FLEET_MD FOLDER
# The job script of docs/fleet.md under a real Slurm of one node: four shards of a folder of photographs, one of which is
# killed on the way and put in the queue again, give the files and the report of one run. As root; all on the loopback.
set -euo pipefail
idphoto=$(realpath "$1") sample=$(realpath "$2") fleet=$(realpath "$3") folder=$4

for command in munged slurmctld slurmd sbatch; do
  PATH=$PATH:/usr/sbin command -v "$command" >/dev/null || { echo "skipped: no $command" && exit 77; }
done
((EUID == 0)) || { echo "skipped: Slurm's daemons need root" && exit 77; }
[[ $idphoto == */bin/idphoto ]]

rm -rf "$folder"
mkdir -p "$folder"/{state,spool,photos,munge,socket}
cd "$folder"
folder=$PWD
export PATH=${idphoto%/*}:$PATH:/usr/sbin SLURM_CONF=$folder/slurm.conf
stop() {
  local file
  for file in slurmd.pid slurmctld.pid munge/pid; do
    [[ ! -s $file ]] || kill "$(<"$file")" 2>/dev/null || true
    for ((i = 0; i < 50; ++i)); do
      if [[ ! -e $file ]]; then break; fi
      sleep 0.1
    done
  done
}
trap stop EXIT

head -c 128 /dev/urandom >munge/key
chmod 700 munge
chmod 600 munge/key
munged --force --socket="$folder/socket/munge" --key-file="$folder/munge/key" --log-file="$folder/munge/log" \
  --pid-file="$folder/munge/pid" --seed-file="$folder/munge/seed" --num-threads=2
host=$(hostname -s)
cat >slurm.conf <<END
ClusterName=try
SlurmctldHost=$host(127.0.0.1)
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
AuthInfo=socket=$folder/socket/munge
SlurmctldPort=16817
SlurmdPort=16818
SlurmctldPidFile=$folder/slurmctld.pid
SlurmdPidFile=$folder/slurmd.pid
SlurmctldLogFile=$folder/slurmctld.log
SlurmdLogFile=$folder/slurmd.log
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
AccountingStorageType=accounting_storage/none
JobAcctGatherType=jobacct_gather/none
MailProg=/bin/true
NodeName=$host NodeAddr=127.0.0.1 CPUs=$(nproc) RealMemory=2000 State=UNKNOWN
PartitionName=main Nodes=ALL Default=YES State=UP
END
slurmctld
slurmd
for ((i = 0; i < 60; ++i)); do
  if sinfo --noheader --format=%t 2>/dev/null | grep -q idle; then break; fi
  sleep 0.5
done

for ((i = 1; i <= 16; ++i)); do cp "$sample" "photos/p$(printf %02d "$i").png"; done
echo "Dear Sir or Madam," >photos/letter.jpg
sed -n '/^#!\/bin\/sh$/,/^```$/{/^```$/d;p}' "$fleet" >shard.sh
grep -q '^#SBATCH --array=' shard.sh || { echo "no job script in $fleet" && exit 1; }

job=$(PHOTOS=$folder/photos OUT=$folder/out sbatch --parsable --array=1-4 --output="$folder/log-%a" --requeue shard.sh)
# The second shard, once it has made something.
for ((i = 0; i < 600; ++i)); do
  if [[ -s out/report-2-of-4.jsonl ]]; then break; fi
  sleep 0.1
done
scontrol requeue "${job}_2"
for ((i = 0; i < 1200; ++i)); do
  if [[ -z $(squeue --noheader --jobs "$job" 2>/dev/null) ]]; then break; fi
  ((i % 20)) || scontrol update jobid="${job}_2" starttime=now 2>/dev/null || true # a job put back waits two minutes
  sleep 0.25
done

scontrol show job "${job}_2" | grep -o 'Restarts=1'

status=0
idphoto report out/report-*-of-4.jsonl -o out/report.jsonl || status=$?
((status == 1)) # the letter is no photograph
idphoto batch "$folder/photos" -o plain --preset de-passport >plain.log 2>&1 || true
without_seconds() { python3 -c '
import json, sys
for line in open(sys.argv[1]):
    report = json.loads(line)
    del report["seconds"], report["output"]
    print(json.dumps(report, sort_keys=True))' "$1" | sort; }
diff <(without_seconds out/report.jsonl) <(without_seconds plain/report.jsonl)
for file in plain/*.jpg; do cmp "$file" "out/${file##*/}"; done
(($(find out -name '*.jpg' | wc -l) == 16))
[[ $(find out -name '.*' -type f) == "" ]]
echo "1 passed, 0 failed"
