#!/usr/bin/env python3
"""Mutation sampling: how many small faults in the library does the dev suite catch?

usage: python3 tools/mutate.py N SEED [--keep DIR] [--timeout SECONDS] [--only PREFIX]...

Copies the files git tracks (as they are in the working tree, local edits
included) into a scratch directory, configures and builds the `dev` preset
there once, then draws N mutants from SEED over the library's own C++ sources
(every .cpp/.h outside tests/, tools/, build/, .deps/, examples/, node_modules
and platform/win32, which the Linux build never compiles). Each mutant is one
small fault on one line: a comparison or logic operator swapped, true/false
flipped, a `!` dropped, an integer literal plus one, a string literal altered,
or a call statement dropped. Comments, preprocessor lines (macro bodies
included) and log calls are never mutated.

For each mutant the file is changed in the scratch copy, the preset rebuilt
incrementally and `ctest --preset dev` run (two jobs, stopping at the first
failure, with a per-test timeout so that a hang counts as caught). The file is
then restored with a fresh modification time, so the next build recompiles it
alongside the next mutant's file. Status per mutant:

  killed    it built and a test failed (or timed out)
  SURVIVED  it built and every test passed
  no-build  it did not compile (not counted in the score)

The working tree is never written to. --keep DIR builds in DIR and leaves it
there; a later run with the same DIR copies only the files that changed, so
its first build is incremental too. --only PREFIX draws only from the sources
under PREFIX (a file or a folder), to probe one part while working on it; a
score for the whole library is drawn without it.
"""
import argparse
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

JOBS = "2"  # the machine's other work needs the rest
SKIP_DIRS = ("tests/", "tools/", "build/", ".deps/", "examples/", "platform/win32/")
LOG_CALL = re.compile(r"\b(MOX_LOG\w*|MOX_TRACE\w*|Log(?!istic)[A-Z]\w*)\s*\(")
# Lines never mutated: compile-time checks and the function names log lines carry.
NEVER = re.compile(r"\bstatic_assert\b|\bchar\s+k\w*Function\[\]")
STATEMENT_START = re.compile(r"^(return|if|else|for|while|do|switch|case|default|break|continue|"
                             r"goto|throw|delete|new|using|namespace|typedef|template|static_assert|"
                             r"public|private|protected|const|constexpr|static|inline|auto|"
                             r"unsigned|signed|int|bool|char|void|long|short|double|float|struct|"
                             r"class|enum|friend|virtual|explicit|operator|std::lock_guard|"
                             r"std::unique_lock|std::scoped_lock)\b")
CALL_STATEMENT = re.compile(r"^[A-Za-z_][\w:]*(\s*(\.|->)\s*[A-Za-z_]\w*)*\s*\(.*\)\s*;$")


# --- scanning ---------------------------------------------------------------

def is_raw_string_start(text, i):
    """Whether the quote at i opens a raw string literal (R"..., u8R"...)."""
    if i == 0 or text[i - 1] != "R":
        return False
    prefix = re.search(r"[\w]*R$", text[max(0, i - 8):i]).group(0)
    return prefix in ("R", "u8R", "uR", "UR", "LR")


def code_mask(text):
    """Per character: 'c' code, 's' inside an ordinary string literal (quotes
    included), 'x' anything never to mutate (comments, raw strings, char
    literals)."""
    mask = ["c"] * len(text)
    i, n = 0, len(text)
    while i < n:
        ch = text[i]
        if text.startswith("//", i):
            j = text.find("\n", i)
            j = n if j < 0 else j
            mask[i:j] = "x" * (j - i)
            i = j
        elif text.startswith("/*", i):
            j = text.find("*/", i + 2)
            j = n if j < 0 else j + 2
            mask[i:j] = "x" * (j - i)
            i = j
        elif ch == '"' and is_raw_string_start(text, i):
            m = re.match(r'"([^()\\\s]{0,16})\(', text[i:])
            if not m:
                i += 1
                continue
            end = text.find(")" + m.group(1) + '"', i)
            j = n if end < 0 else end + len(m.group(1)) + 2
            mask[i - 1:j] = "x" * (j - i + 1)
            i = j
        elif ch in "\"'":
            j = i + 1
            while j < n and text[j] != ch and text[j] != "\n":
                j += 2 if text[j] == "\\" else 1
            j = min(j + 1, n)
            # digit separators (1'000) are code: a quote after a digit and before a digit
            if ch == "'" and i > 0 and text[i - 1].isdigit() and i + 1 < n and text[i + 1].isdigit():
                i += 1
                continue
            mask[i:j] = ("s" if ch == '"' else "x") * (j - i)
            i = j
        else:
            i += 1
    return "".join(mask)


def skipped_lines(lines):
    """Line numbers (0-based) of preprocessor directives with their
    continuations, and of log calls up to the end of their parentheses."""
    skip = set()
    in_directive = False
    depth = 0
    for k, line in enumerate(lines):
        s = line.strip()
        if in_directive or s.startswith("#"):
            skip.add(k)
            in_directive = line.rstrip().endswith("\\")
            continue
        if depth > 0:
            skip.add(k)
            depth += line.count("(") - line.count(")")
            continue
        if NEVER.search(line):
            skip.add(k)
            continue
        m = LOG_CALL.search(line)
        if m:
            skip.add(k)
            rest = line[m.start():]
            depth = rest.count("(") - rest.count(")")
    return skip


def operator_sites(line, mask):
    """(start, end, replacement) of each single-token mutation on the line."""
    out = []

    def code(a, b):
        return all(c == "c" for c in mask[a:b])

    simple = [
        (r"(?<=\s)==(?=\s)", "!="), (r"(?<=\s)!=(?=\s)", "=="),
        (r"(?<=\s)&&(?=\s)", "||"), (r"(?<=\s)\|\|(?=\s)", "&&"),
        (r"(?<=\s)<(?=\s)", "<="), (r"(?<=\s)<=(?=\s)", "<"),
        (r"(?<=\s)>(?=\s)", ">="), (r"(?<=\s)>=(?=\s)", ">"),
        (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
        (r"(?<=[\s(])!(?=[\w(*])", ""),
    ]
    for pattern, replacement in simple:
        for m in re.finditer(pattern, line):
            if code(m.start(), m.end()):
                out.append((m.start(), m.end(), replacement))
    for m in re.finditer(r"(?<![\w.'])(\d+)([uUlL]*)(?![\w.'])", line):
        digits = m.group(1)
        if code(m.start(), m.end()) and not (len(digits) > 1 and digits.startswith("0")):
            out.append((m.start(1), m.end(1), str(int(digits) + 1)))
    for m in re.finditer(r'"(?:[^"\\\n]|\\.)*"', line):
        a, b = m.start(), m.end()
        if not all(c == "s" for c in mask[a:b]) or (a > 0 and mask[a - 1] == "s"):
            continue
        body = line[a + 1:b - 1]
        if not body:
            new = '"X"'
        elif body[0] == "\\":
            new = '"X' + body + '"'
        else:
            new = '"' + ("y" if body[0] == "x" else "x") + body[1:] + '"'
        out.append((a, b, new))
    stripped = line.strip()
    lead = len(line) - len(line.lstrip())
    if (CALL_STATEMENT.match(stripped) and not STATEMENT_START.match(stripped)
            and code(lead, lead + len(stripped))):
        out.append((lead, lead + len(stripped), "(void)0;"))
    return out


def library_sources(root, files):
    return sorted(f for f in files
                  if f.endswith((".cpp", ".h")) and not f.startswith(SKIP_DIRS)
                  and "node_modules/" not in f and os.path.isfile(os.path.join(root, f)))


def all_sites(root, files):
    sites = []
    for rel in library_sources(root, files):
        with open(os.path.join(root, rel), encoding="utf-8") as fh:
            text = fh.read()
        mask = code_mask(text)
        lines = text.split("\n")
        skip = skipped_lines(lines)
        offset = 0
        for k, line in enumerate(lines):
            if k not in skip and line.strip():
                for a, b, new in operator_sites(line, mask[offset:offset + len(line)]):
                    sites.append((rel, k, a, b, new))
            offset += len(line) + 1
    return sites


# --- the scratch copy -------------------------------------------------------

def tracked_files(root):
    out = subprocess.run(["git", "ls-files", "-z"], cwd=root, capture_output=True, check=True)
    return [f for f in out.stdout.decode("utf-8").split("\0") if f]


def sync_copy(root, scratch, files):
    """Copies the tracked files into scratch, leaving identical ones (and their
    modification times) alone. A file written gets the time of its copying, not
    its source's, so that the build sees it as newer than what it built before.
    Returns how many were written."""
    written = 0
    for rel in files:
        src = os.path.join(root, rel)
        if not os.path.isfile(src):
            continue  # deleted in the working tree
        dst = os.path.join(scratch, rel)
        if os.path.isfile(dst) and not os.path.islink(dst):
            with open(src, "rb") as a, open(dst, "rb") as b:
                if a.read() == b.read():
                    continue
        os.makedirs(os.path.dirname(dst), exist_ok=True)
        shutil.copyfile(src, dst)
        shutil.copymode(src, dst)
        written += 1
    for extra in (".deps", "node_modules"):
        target = os.path.join(root, extra)
        link = os.path.join(scratch, extra)
        if os.path.exists(target) and not os.path.lexists(link):
            os.symlink(os.path.realpath(target), link)
    return written


def run(cmd, cwd, timeout):
    try:
        done = subprocess.run(cmd, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True, errors="replace", timeout=timeout)
        return done.returncode, done.stdout
    except subprocess.TimeoutExpired as e:
        out = e.stdout.decode(errors="replace") if isinstance(e.stdout, bytes) else (e.stdout or "")
        return 124, out


def build(scratch):
    return run(["cmake", "--build", "--preset", "dev", "-j", JOBS], scratch, 1800)


# Tests that take seconds each (a browser, an install, the SDK's build, a soak).
# A mutant meets the quick tests first and these only if it survives them, so
# that a killed mutant costs its build and a few seconds; the suite run is the
# same either way.
SLOW_TESTS = "^(devhost_browser|devhost_every_method|moxh5_installed_package|sdk_unit_tests|soak_short)$"


def test(scratch, per_test_timeout, stop_on_failure=True):
    cmd = ["ctest", "--preset", "dev", "-j", JOBS, "--timeout", str(per_test_timeout)]
    if not stop_on_failure:
        return run(cmd, scratch, 3600)
    cmd.append("--stop-on-failure")
    rc, out = run(cmd + ["-E", SLOW_TESTS], scratch, 3600)
    if rc != 0:
        return rc, out
    return run(cmd + ["-R", SLOW_TESTS], scratch, 3600)


def short(text, width=70):
    text = " ".join(text.split())
    return text if len(text) <= width else text[:width - 3] + "..."


def fragment(line, a, b, new, pad=12):
    """The mutated token with a few words of its line either side."""
    left = max(0, a - pad)
    while left > 0 and not line[left - 1].isspace():
        left -= 1
    right = min(len(line), b + pad)
    while right < len(line) and not line[right].isspace():
        right += 1
    before = line[left:right].strip()
    after = (line[left:a] + new + line[b:right]).strip()
    return short(before), short(after)


def interrupted(signum, frame):
    raise KeyboardInterrupt  # the mutated file is restored on the way out


def main():
    signal.signal(signal.SIGTERM, interrupted)
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("n", type=int, help="how many mutants that build to test")
    parser.add_argument("seed", type=int, help="the draw's seed")
    parser.add_argument("--keep", metavar="DIR", help="build in DIR and keep it for later runs")
    parser.add_argument("--timeout", type=int, default=60, help="per-test timeout in seconds")
    parser.add_argument("--only", metavar="PREFIX", action="append", default=[],
                        help="draw only from sources whose path starts with PREFIX (repeatable)")
    args = parser.parse_args()

    root = subprocess.run(["git", "rev-parse", "--show-toplevel"], capture_output=True, text=True,
                          check=True, cwd=os.path.dirname(os.path.abspath(__file__))).stdout.strip()
    files = tracked_files(root)
    if args.keep:
        scratch = os.path.abspath(args.keep)
        if scratch == root or scratch.startswith(root + os.sep) and not scratch.startswith(
                os.path.join(root, "build") + os.sep):
            sys.exit("mutate.py: --keep must lie outside the working tree")
        os.makedirs(scratch, exist_ok=True)
    else:
        scratch = tempfile.mkdtemp(prefix="moxh5-mutate-")
    print(f"seed {args.seed}, {args.n} mutants, scratch copy {scratch}", flush=True)

    try:
        started = time.monotonic()
        sync_copy(root, scratch, files)
        rc, out = run(["cmake", "--preset", "dev"], scratch, 600)
        if rc == 0:
            rc, out = build(scratch)
        if rc != 0:
            sys.exit(f"mutate.py: the unmutated copy does not build:\n{out[-3000:]}")
        rc, out = test(scratch, args.timeout, stop_on_failure=False)
        if rc != 0:
            sys.exit(f"mutate.py: the unmutated suite fails; fix it first:\n{out[-3000:]}")
        print(f"baseline built and passed in {time.monotonic() - started:.0f}s", flush=True)

        sites = all_sites(scratch, files)
        if args.only:
            sites = [s for s in sites if s[0].startswith(tuple(args.only))]
        rng = random.Random(args.seed)
        rng.shuffle(sites)
        print(f"{len(sites)} mutation sites in {len(library_sources(scratch, files))} files",
              flush=True)

        results = []  # (status, rel, line, before, after)
        restored = None  # the last restored file: the next build recompiles it
        mutant_started = time.monotonic()
        # Draw candidates until N have built; each batch is tried in file order
        # so that consecutive mutants of one file share its recompilation.
        cursor = 0
        while sum(1 for r in results if r[0] != "no-build") < args.n and cursor < len(sites):
            need = args.n - sum(1 for r in results if r[0] != "no-build")
            batch = sorted(sites[cursor:cursor + need], key=lambda s: (s[0], s[1], s[2]))
            cursor += need
            for rel, k, a, b, new in batch:
                path = os.path.join(scratch, rel)
                with open(path, encoding="utf-8") as fh:
                    original = fh.read()
                lines = original.split("\n")
                line = lines[k]
                before, after = fragment(line, a, b, new)
                lines[k] = line[:a] + new + line[b:]
                with open(path, "w", encoding="utf-8") as fh:
                    fh.write("\n".join(lines))
                try:
                    rc, _ = build(scratch)
                    if rc != 0:
                        status = "no-build"
                    else:
                        rc, _ = test(scratch, args.timeout)
                        status = "killed" if rc != 0 else "SURVIVED"
                finally:
                    # A fresh mtime, newer than the mutant's object: the next
                    # build recompiles the original.
                    with open(path, "w", encoding="utf-8") as fh:
                        fh.write(original)
                    os.utime(path, None)
                    restored = rel
                results.append((status, rel, k + 1, before, after))
                print(f"{status:<9} {rel}:{k + 1}  {before}  →  {after}", flush=True)
        mutants_time = time.monotonic() - mutant_started
        if restored:
            build(scratch)  # leave a kept copy built from the original sources

        killed = sum(1 for r in results if r[0] == "killed")
        survived = [r for r in results if r[0] == "SURVIVED"]
        no_build = sum(1 for r in results if r[0] == "no-build")
        compiled = killed + len(survived)
        score = 100.0 * killed / compiled if compiled else 0.0
        print(f"\nseed {args.seed}: {killed}/{compiled} killed ({score:.1f}%), "
              f"{len(survived)} survived, {no_build} did not compile; "
              f"{mutants_time / max(len(results), 1):.1f}s per mutant", flush=True)
        if survived:
            print("survivors:")
            for _, rel, line, before, after in survived:
                print(f"  {rel}:{line}  {before}  →  {after}")
    finally:
        if not args.keep:
            shutil.rmtree(scratch, ignore_errors=True)


if __name__ == "__main__":
    main()
