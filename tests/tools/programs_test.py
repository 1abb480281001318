"""The host programs as a user runs them: zvk, the example host and the README's copy of it."""

import json
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ZVK, HOST, SOURCE = sys.argv[1], sys.argv[2], Path(sys.argv[3])
EXAMPLES = SOURCE / "examples"
EVIL = b"<b>evilcode1!</b>"
PAGE = b"x<br>" + b"." * 400 + EVIL


def run(*arguments, program=ZVK, stdin=b"", stdout=subprocess.PIPE):
    done = subprocess.run([program, *map(str, arguments)], input=stdin, stdout=stdout,
                          stderr=subprocess.PIPE, timeout=60)
    return done.returncode, (done.stdout or b"").decode(errors="replace"), done.stderr.decode()


class ProgramTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.patterns = self.write("set.ndb", b"Evil:0:*:" + b"evilcode1".hex().encode() + b"??\n")

    def write(self, name, content):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        return path

    def scan(self, *arguments, **options):
        return run("scan", "--patterns", self.patterns, *arguments, **options)

    def test_scan_tells_files_folders_and_standard_input(self):
        page = self.write("pages/a.html", PAGE + EVIL)
        self.write("pages/b/clean.html", b"x<br>")
        text = self.write("pages/c.txt", b"just text")
        status, out, err = self.scan("--verbose", self.folder / "pages", "-", stdin=PAGE)
        self.assertEqual(status, 1)
        self.assertEqual(out.splitlines()[:4],
                         [f"{page}: Evil", f"{page}: Evil", f"{text}: (not scannable)", "-: Evil"])
        self.assertRegex(out.splitlines()[4], "^-- 4 files, [0-9]+ bytes, 3 detections, 1 refused")
        self.assertEqual(err, "")
        for jobs in ("1", "7"):
            for chunk in ("1", "256", "1000"):
                again = self.scan("--jobs", jobs, "--chunk", chunk, self.folder / "pages")
                self.assertEqual(again[1].splitlines()[:2], out.splitlines()[:2])
        self.assertEqual(self.scan("--first", page)[1].count("Evil"), 1)
        self.assertEqual(self.scan(self.folder / "pages/b")[0], 0)

    def test_scan_in_json(self):
        page = self.write("odd\n\udcff.html".encode(errors="surrogateescape").decode(
            errors="surrogateescape"), PAGE)
        status, out, _ = self.scan("--json", page, self.folder / "none")
        rows = [json.loads(line) for line in out.splitlines()]
        self.assertEqual([row["type"] for row in rows], ["detection", "error", "summary"])
        self.assertEqual(rows[0]["name"], "Evil")
        self.assertEqual((rows[2]["files"], rows[2]["detections"]), (1, 1))
        self.assertEqual(status, 2)
        self.assertEqual(len(self.scan(page)[1].splitlines()), 2)

    def test_errors_name_what_is_wrong(self):
        page = self.write("a.html", PAGE)
        unknown = self.write("set.txt", b"")
        container = self.write("container", b"VQPattern")
        cases = [
            ((), "subcommand"),
            (("scan", page), "--patterns"),
            (("scan", "-p", self.patterns), "paths"),
            (("scan", "-p", self.patterns, "--chunk", "0", page), "--chunk"),
            (("scan", "-p", self.patterns, "--all", "--first", page), "--first"),
            (("scan", "-p", self.folder / "none.ndb", page), "none.ndb"),
            (("scan", "-p", self.folder, page), str(self.folder)),
            (("scan", "-p", unknown, page), ".hdb"),
            (("scan", "-p", container, page), "container"),
            (("info", "-p", self.patterns, "-u", self.folder / "none.db"), "none.db"),
            (("scan", "-p", self.patterns, "/proc/self/mem"), "/proc/self/mem"),
        ]
        for arguments, named in cases:
            with self.subTest(arguments=arguments):
                status, _, err = run(*arguments)
                self.assertEqual(status, 2)
                self.assertEqual(len(err.splitlines()), 1, err)
                self.assertIn(named, err)
        status, out, err = self.scan(self.folder / "none.html", page)
        self.assertEqual((status, out.splitlines()[0]), (2, f"{page}: Evil"))
        self.assertIn("none.html", err)
        with open("/dev/full", "wb") as full:
            self.assertEqual(self.scan(page, stdout=full)[0], 2)

    def test_info_tells_refused_lines_by_their_numbers(self):
        patterns = self.write("set.db", b"Good=61626364656667686970\n\n# no comment\nShort=6162\n")
        status, out, err = run("info", "-p", patterns)
        self.assertEqual((status, err), (1, ""))
        self.assertIn("Engine Version   : 1.1.0.37\n", out)
        self.assertIn("Pattern count    : 1\n", out)
        told = [line for line in out.splitlines() if line.startswith(f"{patterns}:")]
        self.assertEqual([line[len(str(patterns)):].split(" ")[0] for line in told[1:]],
                         [":2:", ":3:", ":4:"])
        self.assertIn("sig too short than 10", told[3])
        rows = [json.loads(line) for line in run("info", "-p", patterns, "--json")[1].splitlines()]
        self.assertEqual([row.get("line") for row in rows], [None, None, 2, 3, 4])
        self.assertEqual(run("info", "-p", self.patterns)[0], 0)
        status, out, err = run("scan", "-p", patterns, self.write("a.html", PAGE))
        self.assertEqual((status, len(out.splitlines())), (0, 1))
        self.assertIn("3 lines refused", err)

    def test_the_samples_find_their_pages(self):
        for kind, names in (("ndb", {"Demo.Script.Writer", "Demo.Script.Decoder"}),
                            ("db", {"Demo.Frame.Hidden", "Demo.Script.Reload"}),
                            ("hdb", {"Demo.Page.Copy"})):
            patterns = EXAMPLES / "patterns" / f"sample.{kind}"
            _, out, _ = run("scan", "--json", "-p", patterns, EXAMPLES / "pages")
            rows = [json.loads(line) for line in out.splitlines()]
            found = {(row["path"], row["name"]) for row in rows if row["type"] == "detection"}
            self.assertEqual({name for _, name in found}, names)
            for page in (EXAMPLES / "pages").iterdir():
                status, out, _ = run(patterns, page, program=HOST)
                told = {line[7:] for line in out.splitlines() if line.startswith("found: ")}
                self.assertEqual(told, {name for path, name in found if path == str(page)})
                self.assertEqual(status, 1 if told else 0)
        self.assertEqual(run(program=HOST)[0], 2)
        self.assertEqual(run(self.patterns, self.folder / "none", program=HOST)[0], 2)

    def test_the_readme_shows_the_host_as_it_is(self):
        self.assertIn((EXAMPLES / "host.c").read_text(), (SOURCE / "README.md").read_text())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
