#!/usr/bin/python3
"""Checks a Prometheus text exposition (a file, or stdin for "-") with the
prometheus_client text parser plus the rules kvictl promises: strict UTF-8,
kvictl_ names, exactly one HELP and one TYPE line per family before its
samples, samples of a family together, counters named ..._total, no duplicate
series, no time stamps.
Prints every sample as JSON ({"samples": [{"name", "labels", "value"}]});
exits 1 with the findings on stderr when a rule is broken."""
import json
import math
import re
import sys

from prometheus_client.parser import text_string_to_metric_families

NAME = re.compile(r"^kvictl_[a-z0-9_]+$")


def check(text):
    errors = []
    if not text.endswith("\n"):
        errors.append("the text does not end with a line feed")
    helps, types, types_of, order = {}, {}, {}, []
    current = None
    for n, line in enumerate(text.split("\n")[:-1], 1):
        if line.startswith("# HELP ") or line.startswith("# TYPE "):
            kind, name = line[2:6], line.split(" ")[2]
            seen = helps if kind == "HELP" else types
            seen[name] = seen.get(name, 0) + 1
            if kind == "HELP":
                if name in order:
                    errors.append("line %d: family %s starts a second time" % (n, name))
                order.append(name)
                current = name
            else:
                types_of[name] = line.split(" ")[3] if len(line.split(" ")) > 3 else ""
                if current != name:
                    errors.append("line %d: TYPE of %s does not follow its HELP" % (n, name))
            continue
        if line.startswith("#") or not line:
            errors.append("line %d: unexpected line %r" % (n, line))
            continue
        name = re.split(r"[{ ]", line, 1)[0]
        if name != current:
            errors.append("line %d: sample of %s outside its family (%s)" % (n, name, current))
        if name not in types:
            errors.append("line %d: sample of %s before its TYPE" % (n, name))
    for name in order:
        if helps.get(name) != 1 or types.get(name) != 1:
            errors.append("%s: %d HELP and %d TYPE lines" % (name, helps.get(name, 0), types.get(name, 0)))
        if not NAME.match(name):
            errors.append("%s: not a kvictl_ metric name" % name)
        if types_of.get(name) == "counter" and not name.endswith("_total"):
            errors.append("%s: a counter whose name does not end in _total" % name)

    samples, keys = [], set()
    for family in text_string_to_metric_families(text):
        # The parser names a counter family without its _total suffix.
        declared = family.name
        if family.type == "counter" and declared not in order:
            declared += "_total"
        if declared not in order:
            errors.append("%s: parsed but not declared" % family.name)
        elif family.type != types_of.get(declared):
            errors.append("%s: parsed as %s, declared %s" % (declared, family.type, types_of.get(declared)))
        for s in family.samples:
            if s.timestamp is not None:
                errors.append("%s: carries a time stamp" % s.name)
            if math.isnan(s.value) or math.isinf(s.value):
                errors.append("%s: value %r" % (s.name, s.value))
            key = (s.name, tuple(sorted(s.labels.items())))
            if key in keys:
                errors.append("%s%r: duplicate series" % key)
            keys.add(key)
            samples.append({"name": s.name, "labels": s.labels, "value": s.value})
    return errors, samples


def main():
    path = sys.argv[1] if len(sys.argv) > 1 else "-"
    data = sys.stdin.buffer.read() if path == "-" else open(path, "rb").read()
    try:
        text = data.decode("utf-8")
        errors, samples = check(text)
    except Exception as e:  # the parser raises on malformed lines
        errors, samples = ["parser: %s: %s" % (type(e).__name__, e)], []
    if errors:
        sys.stderr.write("\n".join(errors) + "\n")
        return 1
    json.dump({"samples": samples}, sys.stdout, ensure_ascii=False)
    return 0


if __name__ == "__main__":
    sys.exit(main())
