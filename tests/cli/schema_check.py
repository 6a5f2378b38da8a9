#!/usr/bin/python3
"""Validates the JSON of every kvictl command against its published schema.

Usage: schema_check.py KVICTL SCHEMA_DIR [--dump]

Runs the real binary for every row of COMMANDS in JSON on two simulator
profiles (the default one, and one without battery and alarm), plus a
multi-controller run and failing runs, and the JSON Lines of events follow,
with a fixed zone and clock, and validates each document with jsonschema's
Draft202012Validator against SCHEMA_DIR/<schema>.schema.json (which refers
to envelope.schema.json). Also
checks that every command kvictl lists has a schema and a row. --dump prints
the documents instead. Exits 1 with the findings on stderr."""
import json
import os
import re
import shlex
import signal
import subprocess
import sys
import tempfile

from jsonschema import Draft202012Validator

PASSPHRASE = "correct horse 42\n"

# One row per command line: its schema and the arguments after the global
# options. The rows run in this order on one state file per profile, so a
# lock key exists before it is verified and the destructive commands come
# last. Every show section gets a row of its own (SECTIONS, from the help).
COMMANDS = [
    ("list", "list"),
    ("show", "show"),
    ("show", "show all"),
    ("show", "show {section}"),
    ("properties", "properties"),
    ("get", "get rebuild-rate ncq coercion-mode spin-down-time pred-fail-da-interval"),
    ("set", "set rebuild-rate=45 jbod=on cc-rate=30"),
    ("raw", "raw KV_CTRL_INFO"),
    ("raw", "raw KV_FLASH_COMP_INFO_LIST"),
    ("alarm", "alarm"),
    ("alarm", "alarm show"),
    ("alarm-on", "alarm on"),
    ("alarm-off", "alarm off"),
    ("alarm-silence", "alarm silence"),
    ("bbu", "bbu"),
    ("bbu", "bbu show"),
    ("bbu-set", "bbu set auto-learn=warn"),
    ("bbu-learn", "bbu learn"),
    ("bbu-test", "bbu test"),
    ("bios", "bios show"),
    ("bios-set", "bios set error-mode=stop enabled=on"),
    ("boot", "boot show"),
    ("boot-set", "boot set vd=1"),
    ("boot-clear", "boot clear"),
    ("events-info", "events info"),
    ("events-count", "events count --class warning"),
    ("events-list", "events list"),
    ("capture", "capture show"),
    ("capture-start", "capture start"),
    ("capture-stop", "capture stop"),
    ("capture-mode", "capture mode 1"),
    ("capture-filter", "capture filter 0x10 --fw"),
    ("capture-unfilter", "capture unfilter 0x10"),
    ("capture-read", "capture read"),
    ("capture-disable", "capture disable"),
    ("patrol", "patrol show"),
    ("patrol-set", "patrol set mode=manual delay=24 'start=2026-08-01 02:00' exclude=2,7"),
    ("patrol-start", "patrol start"),
    ("patrol-suspend", "patrol suspend"),
    ("patrol-resume", "patrol resume"),
    ("patrol-stop", "patrol stop"),
    ("cc", "cc show"),
    ("cc-set", "cc set mode=concurrent delay=672 'start=2026-01-07 03:00'"),
    ("rules", "rules"),
    ("topology", "topology show"),
    ("topology-phys", "topology phys"),
    ("topology-connectors", "topology connectors"),
    ("topology-mux", "topology mux"),
    ("topology-lanes", "topology lanes"),
    ("topology-set-link-speed", "topology set-link-speed 4 6"),
    ("topology-set-mux", "topology set-mux 1 2"),
    ("topology-set-sas-address", "-y topology set-sas-address 0x5000d31f0a94c100"),
    ("security", "security show"),
    ("security-suggest", "security suggest"),
    ("security-create", "security create --passphrase-file -"),
    ("security-verify", "security verify --passphrase-file -"),
    ("security-restore", "security restore --passphrase-file -"),
    ("security-rekey", "security rekey --passphrase-file -"),
    ("security-destroy", "-y security destroy"),
    ("check", "check"),
    ("metrics", "metrics"),
    ("flush-cache", "flush-cache"),
    ("restart", "--dry-run restart"),
    ("restart", "-y restart"),
    ("shutdown", "-y shutdown"),
    ("events-clear", "-y events clear"),
    ("factory-defaults", "-y factory-defaults"),
]
PROFILES = ["default", "entry"]  # entry: no battery, no alarm, no key manager
# Runs beside the table: several controllers, and failures before anything is sent.
EXTRA = [
    ("list", "--sim-controllers 2 -c all list"),
    ("show", "--sim-controllers 2 -c all show all"),
    ("check", "--sim-controllers 2 check"),
    ("show", "show nosuch"),
    ("set", "set rebuild-rate=500"),
    ("events-list", "-c 3 events list"),
]
# events follow writes JSON Lines until it is stopped: it runs beside the
# table, is stopped with SIGTERM after this many lines, and each line is checked.
FOLLOW = ("events-follow", "events follow --last 3", 3)


def run(kvictl, args, env):
    return subprocess.run([kvictl] + args, input=PASSPHRASE, capture_output=True, text=True,
                          env=env, timeout=120)


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


def sections(kvictl, env):
    out = run(kvictl, ["show", "--help"], env).stdout
    block = re.search(r"Sections:\n((?:  \S.*\n)+)", out).group(1)
    return [line.split()[0] for line in block.splitlines()]


def schema_name(path):
    """The schema of a command path: a group's show verb is the group's."""
    words = path.split()
    return words[0] if words[1:] == ["show"] else "-".join(words)


def main():
    kvictl, schema_dir = sys.argv[1], sys.argv[2]
    dump = "--dump" in sys.argv[3:]
    env = dict(os.environ, TZ="Europe/Berlin", KVICTL_SIM_TIME="1782900000")
    env.pop("KVICTL_DEVICE", None)
    schemas = {}
    for name in os.listdir(schema_dir):
        if name.endswith(".schema.json"):
            with open(os.path.join(schema_dir, name), encoding="utf-8") as f:
                schemas[name[: -len(".schema.json")]] = json.load(f)
    errors = []

    def validator(name):
        try:
            from referencing import Registry, Resource
        except ImportError:  # before jsonschema 4.18 (Debian 12): its own resolver
            from jsonschema import RefResolver
            store = {s["$id"]: s for s in schemas.values()}
            return Draft202012Validator(
                schemas[name], resolver=RefResolver(schemas[name]["$id"], schemas[name], store))
        registry = Registry().with_resources(
            (s["$id"], Resource.from_contents(s)) for s in schemas.values())
        return Draft202012Validator(schemas[name], registry=registry)

    rows = []
    for name, args in COMMANDS:
        if "{section}" in args:
            rows += [(name, args.format(section=t)) for t in sections(kvictl, env)]
        else:
            rows.append((name, args))
    # Every command has a schema that says which major it describes, and a row.
    used = {s for s, _ in rows + EXTRA} | {FOLLOW[0]}
    for path in commands_listed(kvictl, env):
        if schema_name(path) not in schemas:
            errors.append("%s: no schema in %s" % (path, schema_dir))
        elif schema_name(path) not in used:
            errors.append("%s: no row runs it" % path)
    for name, s in schemas.items():
        Draft202012Validator.check_schema(s)
        if s.get("$id") != name + ".schema.json" or "major 2" not in s.get("description", ""):
            errors.append("%s: $id must be its file name; the description names the major" % name)

    runs = [(p, s, a) for p in PROFILES for s, a in rows] + [("default", s, a) for s, a in EXTRA]
    states = {p: tempfile.mkstemp(prefix="kvictl-schema-", suffix=".json")[1] for p in PROFILES}
    for state in states.values():
        os.remove(state)
    try:
        for profile, name, args in runs:
            argv = ["--sim=" + profile, "--sim-state", states[profile], "-o", "json"]
            r = run(kvictl, argv + shlex.split(args), env)
            where = "%s: kvictl %s" % (profile, args)
            try:
                doc = json.loads(r.stdout)
            except ValueError as e:
                errors.append("%s: not one JSON document (%s)" % (where, e))
                continue
            if dump:
                print("# %s (%s)\n%s" % (where, name, json.dumps(doc, indent=1)))
            if doc.get("kvictl", {}).get("exit_status") != r.returncode:
                errors.append("%s: exit %d, the document says otherwise" % (where, r.returncode))
            if name not in schemas:
                continue  # named above
            for e in validator(name).iter_errors(doc):
                errors.append("%s: %s at /%s" % (where, e.message,
                                                 "/".join(str(p) for p in e.absolute_path)))
        name, args, count = FOLLOW
        p = subprocess.Popen([kvictl, "--sim", "-o", "json"] + shlex.split(args),
                             stdout=subprocess.PIPE, text=True, env=env)
        try:
            lines = [p.stdout.readline() for _ in range(count)]
        finally:
            p.send_signal(signal.SIGTERM)
            lines += p.communicate(timeout=120)[0].splitlines()
        if p.returncode != 0 or len([l for l in lines if l.strip()]) != count:
            errors.append("kvictl %s: exit %s, %d lines" % (args, p.returncode, len(lines)))
        for line in filter(str.strip, lines):
            for e in validator(name).iter_errors(json.loads(line)):
                errors.append("kvictl %s: %s at /%s" % (args, e.message,
                                                        "/".join(str(x) for x in e.absolute_path)))
    finally:
        for state in states.values():
            for f in (state, state + ".lock"):
                if os.path.exists(f):
                    os.remove(f)
    for e in errors:
        print(e, file=sys.stderr)
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
