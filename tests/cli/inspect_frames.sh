#!/usr/bin/env bash
# Frames: a frameset's frames get their ids and snapshot files (tNf0.html,
# ...); a step aimed at a frame (TargetFrame) loads its page into that frame
# and the rest of the frameset stays; links are found in the frame a step
# names (Frame) or in any document; "_top" replaces the whole window.
source "$(dirname "$0")/common.bash" "$@"
dir=$work/frames
mkdir -p "$dir/data"
cat > "$dir/action.c" <<'C'
Action()
{
    web_url("top", "URL=http://intra.example.net/app/", "Snapshot=t1.inf", LAST);
    web_url("inner", "URL=http://intra.example.net/app/report", "TargetFrame=main",
        "Snapshot=t2.inf", LAST);
    web_link("detail", "Text=Detail", "Frame=main", "Snapshot=t3.inf", "TargetFrame=main", LAST);
    web_link("menu entry", "Text=Settings", "Snapshot=t4.inf", "TargetFrame=_top", LAST);
    web_link("gone with the frames", "Text=Detail", "Frame=main", "Snapshot=t5.inf", LAST);
    return 0;
}
C
cat > "$dir/data/t1.html" <<'H'
<html><head><title>Intranet</title></head>
<frameset cols="25%,*"><frame name="nav" src="nav.html"><frame name="main" src="welcome.html"></frameset>
</html>
H
echo '<a href="/app/settings">Settings</a>' > "$dir/data/t1f0.html"
echo '<p>Welcome</p>' > "$dir/data/t1f1.html"
echo '<html><head><title>Report</title></head><a href="detail?id=7">Detail</a></html>' > "$dir/data/t2.html"
echo '<p>Detail 7</p>' > "$dir/data/t3.html"
echo '<html><head><title>Settings</title></head><p>none</p></html>' > "$dir/data/t4.html"

set +e
out=$("$tool" inspect "$dir")
rc=$?
set -e
[ $rc -eq 1 ] || fail "exit $rc, not 1 (the last link cannot be found)"
expect() { grep -qF -- "$1" <<<"$out" || fail "missing: $1
in:
$out"; }
expect "        frame 1.1 \"nav\": data/t1f0.html <- http://intra.example.net/app/nav.html"
expect "        frame 1.2 \"main\": data/t1f1.html <- http://intra.example.net/app/welcome.html"
expect "      page into frame 1.2 \"main\": data/t2.html \"Report\" (0 forms, 1 link)"
expect "      link \"Detail\" -> detail?id=7 in data/t2.html (frame 1.2 \"main\")"
expect "      GET http://intra.example.net/app/detail?id=7"
expect "      page into frame 1.2 \"main\": data/t3.html (0 forms, 0 links)"
# The navigation frame is still there after the main frame changed twice.
expect "      link \"Settings\" -> /app/settings in data/t1f0.html (frame 1.1 \"nav\")"
expect "      page: data/t4.html \"Settings\" (0 forms, 0 links)"
expect "NOT RESOLVED: the page has no frame named \"main\" on the page http://intra.example.net/app/settings"
echo ok
