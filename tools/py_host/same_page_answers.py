#!/usr/bin/env python3
"""Runs two hosts on the same transcript and checks that the pages heard the
same: the same "page" events (envelopes compared as JSON), and the same
"result" and "exist" events (line, module, registered, handled, answer), in
the same order.

    same_page_answers.py REFERENCE COMMAND... -- CANDIDATE COMMAND...
    same_page_answers.py --expected EXPECTED_FILE -- CANDIDATE COMMAND...

With --expected the reference events are the lines of a transcript's
.expected file (those moxh5-play --expect checks), so only the candidate runs;
as there, an object of the file matches one that has at least its members.

Exit status: 0 when both ran, answered at least one page and agree; 1
otherwise, after printing the first difference.
"""
import json
import subprocess
import sys

COMPARED = {"page": None, "result": ("line", "module", "registered", "handled", "answer"),
            "exist": ("line", "answer")}


def output_of(command):
    if command[0] == "--expected" and len(command) == 2:
        with open(command[1], encoding="utf-8") as expected:
            return expected.read()
    run = subprocess.run(command, stdout=subprocess.PIPE, timeout=300)
    if run.returncode == 77:  # the runner could not start the program here: skipped, not passed
        print("SKIPPED: %s could not run on this machine" % command[-2])
        raise SystemExit(77)
    if run.returncode != 0:
        raise SystemExit("%s exited with %d" % (command[0], run.returncode))
    return run.stdout.decode("utf-8")


def events(command):
    found = []
    for text in output_of(command).splitlines():
        text = text.strip()
        if not text.startswith("{"):
            continue
        event = json.loads(text)
        # Hosts run the default page policy: its marked lines count, the
        # unrestricted policy's do not.
        if event.pop("underPolicy", "default") != "default":
            continue
        kind = event.get("event")
        if kind in COMPARED:
            members = COMPARED[kind]
            found.append(event if members is None else
                         {"event": kind, **{m: event.get(m) for m in members}})
    return found


def matches(want, got, partial):
    if not partial or not isinstance(want, dict):
        return want == got
    return isinstance(got, dict) and all(
        name in got and matches(value, got[name], True) for name, value in want.items())


def main(argv):
    if "--" not in argv:
        sys.stderr.write(__doc__)
        return 2
    split = argv.index("--")
    reference, candidate = events(argv[1:split]), events(argv[split + 1:])
    if not any(e["event"] == "page" for e in reference):
        print("the reference answered no page")
        return 1
    partial = argv[1] == "--expected"
    for number, (want, got) in enumerate(zip(reference, candidate), start=1):
        if not matches(want, got, partial):
            print("event %d differs:\n  reference %s\n  candidate %s" % (number, want, got))
            return 1
    if len(reference) != len(candidate):
        print("%d events from the reference, %d from the candidate"
              % (len(reference), len(candidate)))
        return 1
    print("%d events agree" % len(reference))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
