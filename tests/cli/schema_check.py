#!/usr/bin/python3
"""Validates the JSON of every kvictl command against its published schema.

Usage: schema_check.py KVICTL SCHEMA_DIR

The default profile's documents are the golden files of the end-to-end test
(tests/golden/cli/*.json, one per command); each golden's command line (its
envelope repeats argv) runs again on the entry profile (no battery, alarm or
key manager), beside a few failing and multi-controller runs and the JSON
Lines of events follow, with a fixed zone and clock. Every document is
validated with jsonschema's Draft202012Validator against
SCHEMA_DIR/<schema>.schema.json (which refers to envelope.schema.json), and
every command kvictl lists must have a schema and a document. Exits 1 with
the findings on stderr."""
import json
import os
import re
import signal
import subprocess
import sys

from jsonschema import Draft202012Validator

GOLDEN = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "golden", "cli")
# Runs beside the goldens: several controllers, and failures before anything is sent.
EXTRA = [
    ("show", "--sim --sim-controllers 2 -c all show all"),
    ("check", "--sim --sim-controllers 2 check"),
    ("metrics", "--sim metrics"),
    ("show", "--sim show nosuch"),
    ("set", "--sim set rebuild-rate=500"),
    ("events-list", "--sim -c 3 events list"),
]


def run(kvictl, args, env):
    return subprocess.run([kvictl] + args, input="correct horse 42\n", capture_output=True,
                          text=True, env=env, timeout=120)


def commands_listed(kvictl, env):
    """Every command path kvictl lists in its help, one level of groups down."""
    def sub(path):
        out = run(kvictl, path + ["--help"], env).stdout
        block = re.search(r"Subcommands:\n((?:  \S.*\n)+)", out)
        return [line.split()[0] for line in block.group(1).splitlines()] if block else []
    paths = []
    for c in sub([]):
        verbs = sub([c])
        paths += [c] if not verbs else ["%s %s" % (c, v) for v in verbs]
    return paths


def main():
    kvictl, schema_dir = sys.argv[1], sys.argv[2]
    env = dict(os.environ, TZ="Europe/Berlin", KVICTL_SIM_TIME="1782900000")
    env.pop("KVICTL_DEVICE", None)
    schemas = {}
    for name in os.listdir(schema_dir):
        if name.endswith(".schema.json"):
            with open(os.path.join(schema_dir, name), encoding="utf-8") as f:
                schemas[name[: -len(".schema.json")]] = json.load(f)
    errors = []

    def validate(name, doc, where):
        try:
            from referencing import Registry, Resource
        except ImportError:  # before jsonschema 4.18 (Debian 12): its own resolver
            from jsonschema import RefResolver
            store = {s["$id"]: s for s in schemas.values()}
            v = Draft202012Validator(
                schemas[name], resolver=RefResolver(schemas[name]["$id"], schemas[name], store))
        else:
            v = Draft202012Validator(schemas[name], registry=Registry().with_resources(
                (s["$id"], Resource.from_contents(s)) for s in schemas.values()))
        for e in v.iter_errors(doc):
            errors.append("%s: %s at /%s" % (where, e.message,
                                             "/".join(str(p) for p in e.absolute_path)))

    for name, s in schemas.items():
        Draft202012Validator.check_schema(s)
        if s.get("$id") != name + ".schema.json" or "major 2" not in s.get("description", ""):
            errors.append("%s: $id must be its file name; the description names the major" % name)
    runs = [(name, args.split()) for name, args in EXTRA]
    for f in sorted(os.listdir(GOLDEN)):
        if not f.endswith(".json"):
            continue
        # A golden is named after its command, and what sets it apart after that.
        words = f[:-5].split("_")
        name = next((n for n in ("-".join(words[:k]) for k in range(len(words), 0, -1))
                     if n in schemas), None)
        with open(os.path.join(GOLDEN, f), encoding="utf-8") as g:
            doc = json.loads(g.read().split("\n", 1)[1])  # after "# exit N"
        if name is None:
            errors.append("%s: no schema for its name" % f)
            continue
        validate(name, doc, "golden " + f)
        # "kvictl --sim -o json ...", each run on a fresh simulator.
        argv = [a for a in doc["kvictl"]["argv"][4:] if a not in ("--sim-state", "STATE.json")]
        runs.append((name, ["--sim=entry"] + argv))
    used = {s for s, _ in runs} | {"events-follow"}
    for path in commands_listed(kvictl, env):
        words = path.split()
        schema = words[0] if words[1:] == ["show"] else "-".join(words)
        if schema not in schemas:
            errors.append("%s: no schema in %s" % (path, schema_dir))
        elif schema not in used:
            errors.append("%s: no golden or run covers it" % path)

    for name, args in runs:
        r = run(kvictl, args[:1] + ["-o", "json"] + args[1:], env)
        args = " ".join(args)
        try:
            doc = json.loads(r.stdout)
        except ValueError as e:
            errors.append("kvictl %s: not one JSON document (%s)" % (args, e))
            continue
        if doc.get("kvictl", {}).get("exit_status") != r.returncode:
            errors.append("kvictl %s: exit %d, the document says otherwise" % (args, r.returncode))
        validate(name, doc, "kvictl " + args)
    # events follow writes JSON Lines until it is stopped: three lines, then SIGTERM.
    p = subprocess.Popen([kvictl, "--sim", "-o", "json", "events", "follow", "--last", "3"],
                         stdout=subprocess.PIPE, text=True, env=env)
    try:
        lines = [p.stdout.readline() for _ in range(3)]
    finally:
        p.send_signal(signal.SIGTERM)
        lines += p.communicate(timeout=120)[0].splitlines()
    lines = [l for l in lines if l.strip()]
    if p.returncode != 0 or len(lines) != 3:
        errors.append("events follow: exit %s, %d lines" % (p.returncode, len(lines)))
    for line in lines:
        validate("events-follow", json.loads(line), "events follow")
    for e in errors:
        print(e, file=sys.stderr)
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
