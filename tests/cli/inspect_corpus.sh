#!/usr/bin/env bash
# inspect runs through corpus folders of every encoding, byte order mark and
# line-end kind (broken calls, pages missing, steps in other code pages)
# without stopping: each run ends with its summary, the JSON form is whole,
# and the steps it counts are the folder's navigation steps.
source "$(dirname "$0")/common.bash" "$@"
need_script_corpus files.jsonl

# The first folder of each encoding / byte order mark / line-end combination.
folders=$(python3 - "$corpus/files.jsonl" <<'PY'
import json, sys
seen = set()
for line in open(sys.argv[1], encoding="utf-8"):
    f = json.loads(line)
    key = (f["encoding"], f["bom"], f["line_ends"])
    if key not in seen:
        seen.add(key)
        print(f["folder"])
PY
)
count=0
for folder in $folders; do
  set +e
  "$tool" inspect "$corpus/$folder" > "$work/out.txt" 2> "$work/err.txt"
  rc=$?
  "$tool" inspect --json "$corpus/$folder" > "$work/out.json" 2>/dev/null
  jrc=$?
  set -e
  [ $rc -le 1 ] || fail "$folder: exit $rc: $(cat "$work/err.txt")"
  [ $jrc -eq $rc ] || fail "$folder: --json exits with $jrc, the text form with $rc"
  tail -1 "$work/out.txt" | grep -qE '^[0-9]+ navigation steps: [0-9]+ resolved, [0-9]+ not resolved; ' ||
    fail "$folder: no summary line: $(tail -3 "$work/out.txt")"
  cp "$work/out.json" "$work/$folder.json"
  count=$((count + 1))
done
[ $count -ge 8 ] || fail "only $count folders inspected"
python3 - "$corpus" "$work" $folders <<'PY' || fail "JSON form"
import collections, json, sys
root, work, folders = sys.argv[1], sys.argv[2], sys.argv[3:]
navigation = {"web_url", "web_link", "web_image", "web_submit_form", "web_submit_data",
              "web_custom_request", "flex_web_request", "silverlight_web_request"}
listed, parsed = collections.Counter(), collections.Counter()
for line in open(f"{root}/expected.jsonl", encoding="utf-8"):
    call = json.loads(line)
    folder = call["file"].split("/")[0]
    if call["function"] in navigation:
        listed[folder] += 1
        outcome = call["expect"] if call["expect"] != "expr" else call.get("expect_as_text")
        parsed[folder] += outcome == "ok"
for folder in folders:
    s = json.load(open(f"{work}/{folder}.json"))["summary"]
    assert s["resolved"] + s["unresolved"] == s["navigation_steps"], (folder, s)
    # Navigation steps that parse are counted; settled failures are not.
    assert parsed[folder] <= s["navigation_steps"] <= listed[folder], (folder, parsed[folder], s)
PY
echo "ok: $count folders"
