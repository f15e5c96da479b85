#!/usr/bin/python3
"""Prints the benchmark table: our figures from one run of the peer harness
beside libgsf's and dd's from the same run, as ratios (ours / theirs; below
1 is faster than them). Usage: bench_table.py PEERS.jsonl OPEN_LISTING.json
"""
import json
import sys


def load(path):
    rows = {}
    for line in open(path):
        if line.strip():
            r = json.loads(line)
            rows[(r["peer"], r["workload"])] = r
    return rows


def value(rows, peer, workload, key="seconds"):
    r = rows.get((peer, workload))
    if not r or not r.get("ok") or r.get(key) is None:
        return None
    return float(r[key])


def fmt(x):
    return "-" if x is None else "%.3f" % x


def ratio(a, b):
    return "-" if a is None or b is None or b == 0 else "%.2f" % (a / b)


def main():
    rows = load(sys.argv[1])
    print("%-28s %10s %10s %8s" % ("measure", "quillbox", "reference", "ratio"))
    lines = [
        ("W2 write vs dd (s)", ("quillbox", "W2", "write_s"), ("raw-dd", "W2", "write_s")),
        ("W2 read vs dd (s)", ("quillbox", "W2", "read_s"), ("raw-dd", "W2", "read_s")),
        ("W2r vs dd read (s)", ("quillbox", "W2r", "seconds"), ("raw-dd", "W2", "read_s")),
        ("W2 vs libgsf (s)", ("quillbox", "W2", "seconds"), ("libgsf", "W2", "seconds")),
        ("W2r vs libgsf (s)", ("quillbox", "W2r", "seconds"), ("libgsf", "W2r", "seconds")),
        ("W1 vs libgsf (s)", ("quillbox", "W1", "seconds"), ("libgsf", "W1", "seconds")),
        ("W1 write vs libgsf (s)", ("quillbox", "W1", "write_s"), ("libgsf", "W1", "write_s")),
        ("W1 read vs libgsf (s)", ("quillbox", "W1", "read_s"), ("libgsf", "W1", "read_s")),
        ("W1r vs libgsf (s)", ("quillbox", "W1r", "seconds"), ("libgsf", "W1r", "seconds")),
        ("W1 vs dd (s)", ("quillbox", "W1", "seconds"), ("raw-dd", "W1", "seconds")),
        ("W4 in place vs libgsf rewrite", ("quillbox", "W4", "seconds"), ("libgsf", "W4-rewrite", "seconds")),
        # libgsf cannot change a file; writing the whole W1 file anew is the
        # least a rewrite with it would cost.
        ("W4 in place vs libgsf W1 write", ("quillbox", "W4", "seconds"), ("libgsf", "W1", "write_s")),
        ("W4 in place vs our rewrite", ("quillbox", "W4", "seconds"), ("quillbox", "W4-rewrite", "seconds")),
        ("W3 metadata scan vs libgsf (s)", ("quillbox", "W3", "seconds"), ("libgsf", "W3", "seconds")),
    ]
    for label, ours, ref in lines:
        a, b = value(rows, *ours), value(rows, *ref)
        print("%-28s %10s %10s %8s" % (label, fmt(a), fmt(b), ratio(a, b)))
    w3_ours, w3_gsf = rows.get(("quillbox", "W3")), rows.get(("libgsf", "W3"))
    if w3_ours and w3_gsf and w3_ours.get("ok") and w3_gsf.get("files_per_s"):
        a, b = float(w3_ours["files_per_s"]), float(w3_gsf["files_per_s"])
        agree = "agree" if w3_ours.get("checksum") == w3_gsf.get("checksum") else "DIFFER (%s vs %s)" % (
            w3_ours.get("checksum"), w3_gsf.get("checksum"))
        print("W3 metadata scan: quillbox %.1f files/s, libgsf %.1f files/s (%.2f x libgsf's rate); "
              "digests %s" % (a, b, a / b if b else 0, agree))
    for (peer, wl), r in sorted(rows.items()):
        if not r.get("ok"):
            print("not ok: %s %s: %s %s" % (peer, wl, r.get("note", ""), r.get("verify_note", "")))
    if len(sys.argv) > 2:
        data = json.load(open(sys.argv[2]))
        for b in data.get("benchmarks", []):
            if "error_message" in b:
                print("open+list 100k: %s" % b["error_message"])
                continue
            print("open+list %d elements: %.1f ms; file %.0f KiB; peak RSS %.0f KiB, growth %.0f KiB "
                  "(%.2f x file size)" % (b["elements"], b["real_time"], b["file_KiB"], b["peak_rss_KiB"],
                                         b["rss_growth_KiB"], b["growth_per_file_byte"]))


if __name__ == "__main__":
    main()
