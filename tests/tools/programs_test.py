"""The host programs as a user runs them: zvk, the example host and the README's copy of it."""

import hashlib
import json
import os
import random
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib
from pathlib import Path

ZVK, HOST, SOURCE = sys.argv[1], sys.argv[2], Path(sys.argv[3])
EXAMPLES = SOURCE / "examples"
EVIL = b"<b>evilcode1!</b>"
PAGE = b"x<br>" + b"." * 400 + EVIL


def run(*arguments, program=ZVK, stdin=b"", stdout=subprocess.PIPE):
    done = subprocess.run([program, *map(str, arguments)], input=stdin, stdout=stdout,
                          stderr=subprocess.PIPE, timeout=60)
    return done.returncode, (done.stdout or b"").decode(errors="replace"), done.stderr.decode()


def des(key, text, decipher):
    """DES in ECB mode, by another program."""
    return subprocess.run(["openssl", "enc", "-d" if decipher else "-e", "-des-ecb", "-nopad", "-K",
                           key.hex(), "-provider", "legacy", "-provider", "default"],
                          input=text, stdout=subprocess.PIPE, check=True).stdout


def read_container(data):
    """The sections of a container, as its document tells, each as its magic and its lines."""
    version, build, length = data[24:40], *struct.unpack("<II", data[40:48])
    sections, table, patterns, names, cipher = struct.unpack("<IIIIH", data[64:82])
    body = data[84:]
    assert data[:10] == b"VQPattern\0" and length == len(body)
    time = bytes(build >> 8 * i & 255 for i in (2, 0, 3, 1))
    k1 = bytes(a ^ b for a, b in zip(time * 2, struct.pack("<II", names, patterns)))
    keys = [[], [k1], [des(k1, version[8:], False), des(k1, version[:8], False), k1]][cipher]
    for key in keys:
        body = des(key, body, True)
    assert hashlib.md5(body).digest() == data[48:64]
    body = zlib.decompressobj().decompress(body)

    def name(at, offset):
        is_fixed, size = struct.unpack_from("<HH", body, at + 4)
        at += 8 + offset
        if is_fixed != 1:
            at, size = at + 1, body[at]
        return body[at:at + size].rstrip(b"\0")

    read = []
    for i in range(sections):
        magic, count, at, names_at = struct.unpack_from("<IIII", body, table + 36 * i)
        lines = []
        for _ in range(count):
            size, = struct.unpack_from("<I", body, at)
            text, at = body[at + 4:at + 4 + size], at + 4 + size
            field = re.compile([rb"^\d+", rb"^\d+", rb"\d+$"][magic & 3])
            lines.append(field.sub(lambda m: name(names_at, int(m[0])), text))
        read.append((magic, lines))
    return read


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

    def test_filter_copies_with_blanks(self):
        both = b"a<script>x</script><embed/>" + b"." * 70000 + b"<nosc"
        page = self.write("a.html", both)
        rest = "." * 70000 + "<nosc"
        for options, stdin, status, out in (
                ((), both, 1, "a" + " " * 26 + rest),
                (("--objects", "-"), both, 1, "a<script>x</script>        " + rest),
                (("--scripts", page, "-"), b"b", 1, "a" + " " * 18 + "<embed/>" + rest + "b"),
                (("--scripts",), b"<embed>", 0, "<embed>"),
                (("--objects", "--scripts"), b"<EMBED>", 1, " " * 7)):
            with self.subTest(options=options, stdin=stdin[:9]):
                self.assertEqual(run("filter", *options, stdin=stdin), (status, out, ""))

    def test_filter_scans_on_the_way(self):
        found, text = self.write("a.html", PAGE + EVIL), self.write("b.txt", b"MZ<object>.")
        for paths, status, out, err in (
                ((found,), 1, PAGE + EVIL, f"{found}: Evil\n{found}: Evil\n"),
                ((text,), 1, b"MZ" + b" " * 9, f"{text}: (not scannable)\n"),
                ((text, found), 1, b"MZ" + b" " * 9 + PAGE + EVIL,
                 f"{text}: (not scannable)\n{found}: Evil\n{found}: Evil\n"),
                (("-",), 0, b"x", "-: (not scannable)\n")):
            with self.subTest(paths=paths):
                told = run("filter", "--scan", "-p", self.patterns, *paths, stdin=b"x")
                self.assertEqual(told, (status, out.decode(), err))

    def test_errors_name_what_is_wrong(self):
        page = self.write("a.html", PAGE)
        unknown = self.write("set.txt", b"")
        container = self.write("container", b"VQPattern")
        link, dangling = self.folder / "link", self.folder / "dangling"
        link.symlink_to(self.patterns)
        dangling.symlink_to(self.folder / "nowhere")
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
            (("pack", "-o", self.folder / "x"), "files"),
            (("pack", "-o", self.folder / "x.y", self.patterns), "x.y"),
            (("pack", "-o", self.folder / "hwinfo", self.patterns), "hwinfo"),
            (("pack", "-o", self.folder / "no/x", self.patterns), "no/x"),
            (("pack", "-o", self.folder / "x", unknown), str(unknown)),
            (("pack", "-o", self.folder / "x", self.folder / "none.db"), "none.db"),
            (("pack", "-o", self.folder / "x", "--cipher", "aes", self.patterns), "aes"),
            (("pack", "-o", self.folder / "x", "--set-version", "1.2.3", self.patterns), "1.2.3"),
            (("pack", "-o", "/dev/full", self.patterns), "/dev/full"),
            (("pack", "-o", self.folder / "x", "--set-version", "1.2.3.4.", self.patterns), "1.2.3.4."),
            (("pack", "-o", self.folder / "x", "--build-time", "0x10", self.patterns), "0x10"),
            (("pack", "-o", link, self.patterns), "which is to be packed"),
            (("pack", "-o", dangling, self.patterns), "dangling"),
            (("inspect", self.folder / "none"), "none"),
            (("inspect", "/dev/null"), "/dev/null"),
            (("inspect", self.folder), str(self.folder)),
            (("unpack", container, "-o", self.folder / "o"), "offset 9 of the file"),
            (("filter", "--scan", page), "--patterns"),
            (("filter", "--patterns", self.patterns, page), "--scan"),
            (("filter", "--scan", "-p", self.folder / "none.ndb", page), "none.ndb"),
            (("filter", self.folder), str(self.folder)),
            (("keywords", page), "--list"),
            (("keywords", "--list", page), "paths"),
            (("keywords", "-l", container, "-l", self.folder / "none.txt", page), "none.txt: cannot"),
            (("keywords", "-l", self.folder, page), f"{self.folder}: cannot read"),
            (("keywords", "-l", container, self.folder / "none.html"), "none.html"),
            (("keywords", "-l", unknown, page), "set.txt: no keyword"),
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
            self.assertEqual(run("filter", page, stdout=full)[0], 2)
        status, out, err = run("filter", self.folder / "none.html", page)
        self.assertEqual((status, out), (2, PAGE.decode()))
        self.assertIn("none.html", err)

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

    def test_pack_writes_what_another_reader_reads(self):
        names = [b"N" * 126, b"Twice", b"Twice", b"\xffodd"]
        basic = [b"%s=%s" % (name, b"evilcode(%d)" % i * 9) for i, name in enumerate(names)]
        basic = [line.replace(b"evilcode", b"6576696c").replace(b"(", b"").replace(b")", b"0")
                 for line in basic]
        extended = [b"%s:0:*:6162??" % name for name in names]
        md5 = [b"%s:%d:%s" % (hashlib.md5(name).hexdigest().encode(), i, name)
               for i, name in enumerate(names)]
        files = [self.write(f"set.{kind}", b"\n".join(lines))
                 for kind, lines in (("ndb", extended), ("db", basic), ("hdb", md5))]
        for cipher in ("none", "des", "3des"):
            for form in ("fixed", "variable"):
                packed = self.folder / f"{cipher}-{form}"
                for _ in range(2):
                    before = packed.read_bytes() if packed.exists() else None
                    status, out, err = run("pack", "-o", packed, "--cipher", cipher, "--names", form,
                                           "--set-version", "1.20.300.4294967295",
                                           "--build-time", "4000000000", *files)
                    self.assertEqual((status, err), (0, ""))
                self.assertEqual(packed.read_bytes(), before)
                self.assertEqual(read_container(before),
                                 [(0xABAB0001, extended), (0xABAB0000, basic), (0xABAB0002, md5)])
                rows = [json.loads(line) for line in
                        run("inspect", "--json", "--records", packed)[1].splitlines()]
                self.assertEqual(rows[0]["version"], "1.20.300.4294967295")
                self.assertEqual(rows[-1]["records"], 12)
                self.assertEqual(rows[-1]["names"], 3)
                self.assertEqual([row["records"] for row in rows if row["type"] == "section"],
                                 [4, 4, 4])
        folder = self.folder / "plain"
        status, out, _ = run("unpack", packed, "-o", folder)
        self.assertEqual(status, 0)
        self.assertEqual([Path(path).read_bytes() for path in out.splitlines()],
                         [b"\n".join(lines) + b"\n" for lines in (extended, basic, md5)])
        self.assertEqual(run("unpack", packed, "-o", folder)[0], 2)
        self.assertEqual(run("unpack", "--force", packed, "-o", folder)[0], 0)
        again = self.folder / "again"
        run("pack", "-o", again, "--cipher", "3des", "--set-version", "1.20.300.4294967295",
            "--build-time", "4000000000", *out.splitlines())
        self.assertEqual(again.read_bytes(), packed.read_bytes())

    def test_the_documents_example_is_true(self):
        text = (SOURCE / "docs/container-format.md").read_text()
        file, body = (bytes.fromhex("".join(line[10:57] for line in block.splitlines()))
                      for block in re.findall("```hex\n(.*?)```", text, re.S))
        self.assertEqual(zlib.decompress(file[84:]), body)
        lines = [line.strip().encode() for line in re.findall("^    (Demo.*)", text, re.M)]
        self.assertEqual(read_container(file), [(0xABAB0000, lines[:2]), (0xABAB0001, lines[2:])])
        command = re.search("`zvk (pack -o demo .*?) a.db b.ndb`", text)[1].split()
        command[2] = str(self.folder / "demo")
        run(*command, self.write("a.db", b"\n".join(lines[:2])), self.write("b.ndb", lines[2]))
        packed = (self.folder / "demo").read_bytes()
        self.assertEqual(zlib.decompress(packed[84:]), body)
        self.assertEqual(packed[:44] + packed[64:84], file[:44] + file[64:84])

    def test_pack_refuses_what_the_engine_or_the_format_refuses(self):
        lines = b"Good=61626364656667686970\n=6162\n" + b"n" * 127 + b"=61626364656667686970\n"
        patterns = self.write("set.db", lines)
        packed = self.folder / "packed"
        status, _, err = run("pack", "-o", packed, "--strict", patterns)
        self.assertEqual((status, packed.exists()), (2, False))
        status, _, err = run("pack", "-o", packed, patterns)
        self.assertEqual(status, 1)
        self.assertEqual([line.split(" ")[1] for line in err.splitlines()],
                         [f"{patterns}:2:", f"{patterns}:3:"])
        self.assertIn("up to 126", err)
        packed.chmod(0o600)
        run("pack", "-o", packed, patterns)
        self.assertEqual(packed.stat().st_mode & 0o777, 0o600)
        self.assertEqual(read_container(packed.read_bytes())[0][1], [b"Good=61626364656667686970"])
        self.assertEqual([path.name for path in self.folder.iterdir() if "packed" in path.name],
                         ["packed"])

    def test_inspect_tells_what_is_wrong_and_where(self):
        packed = self.folder / "packed"
        run("pack", "-o", packed, self.patterns)
        sound = packed.read_bytes()

        def body_with(change):
            body = bytearray(zlib.decompress(sound[84:]))
            change(body)
            deflated = zlib.compress(body)
            return (sound[:44] + struct.pack("<I", len(deflated)) + hashlib.md5(deflated).digest() +
                    sound[64:84] + deflated)

        def set_number(offset, value):
            return lambda body: struct.pack_into("<I", body, offset, value)

        cases = [
            (sound[:50], "offset 50 of the file"),
            (sound + b"x", "offset 44 of the file"),
            (b"X" + sound[1:], "offset 0 of the file"),
            (sound[:80] + b"\x09" + sound[81:], "offset 80 of the file: unknown cipher method 9"),
            (sound[:-1] + b"x", "offset 48 of the file"),
            (sound[:64] + b"\xff" + sound[65:], "of 255 in the section table"),
            (body_with(set_number(4, 2)), "section 1, record 2"),
            (body_with(set_number(36, 5000)), "offset 36 of the restored body"),
            (body_with(set_number(12, 5000)), "offset 5000 of the restored body"),
        ]
        for data, told in cases:
            with self.subTest(told=told):
                status, out, err = run("inspect", self.write("broken", data))
                self.assertEqual(status, 1)
                self.assertIn(told, err)
                fault = json.loads(run("inspect", "--json", self.folder / "broken")[1]
                                   .splitlines()[-1])
                self.assertEqual(fault["type"], "fault")
        self.assertEqual(run("inspect", packed)[0], 0)

    def test_the_sample_container_holds_the_plain_samples(self):
        kinds = {0xABAB0000: "db", 0xABAB0001: "ndb", 0xABAB0002: "hdb"}
        for magic, lines in read_container((EXAMPLES / "patterns/sample").read_bytes()):
            plain = EXAMPLES / f"patterns/sample.{kinds.pop(magic)}"
            self.assertEqual(lines, plain.read_bytes().splitlines())
        self.assertEqual(kinds, {})

    def test_keywords_are_read_and_told(self):
        words = self.write("words.txt", b"# no\n\n \t\nFoo\r\nx\nA b\n foo\nnul\0\nFOO\n"
                           + b"y" * 257 + b"\n#")
        more = self.write("more.txt", b"foobars\noo")
        page = self.write("a.bin", b"\0MZ\r\na B\nFooBar \xff")
        lists = ("--list", words, "-l", more)
        status, out, err = run("keywords", *lists, page, "-", stdin=b"fo o")
        self.assertEqual(status, 1)
        self.assertEqual(out.splitlines()[:-1], [f"{page}: {word}" for word in ("Foo", "A b", "oo")])
        self.assertEqual([line.split(" keyword")[0] for line in err.splitlines()],
                         [f"zvk: {words}:{number}:" for number in (5, 8, 10)])
        rows = [json.loads(line) for line in run("keywords", *lists, "--json", page)[1].splitlines()]
        self.assertEqual(rows[0], {"type": "detection", "path": str(page), "name": "Foo"})
        self.assertEqual(rows[-1]["detections"], 3)
        self.assertEqual(run("keywords", *lists, "-", stdin=b"fo o")[0], 0)
        rejected = self.write("rejected.txt", b"x\n")
        self.assertEqual(run("keywords", "-l", rejected, page)[0], 2)

    def test_keywords_agree_with_a_plain_search(self):
        rng = random.Random(1)
        some = lambda letters, most: "".join(rng.choices(letters, k=rng.randint(2, most)))
        for letters in ("ab", "abcdefghijkl "):
            text = some(letters + letters.upper(), 2) + "".join(rng.choices(letters, k=200_000))
            words = {some(letters, 20).strip() + rng.choice("aA") for _ in range(1500)}
            words |= {text[65536 - before:][:256] for before in (1, 100, 255)}
            words |= {word[:rng.randint(2, 12)] for word in list(words)} | {"no" * 100}
            words = list({word.lower(): word for word in sorted(words) if len(word) > 1}.values())
            words_file = self.write("words.txt", "\n".join(words).encode())
            told = run("keywords", "-l", words_file, "-", stdin=text.encode())[1].splitlines()
            self.assertEqual(told[:-1], [f"-: {word}" for word in words
                                         if word.lower() in text.lower()])
            self.assertTrue(100 < len(told) < len(words))

    def test_the_samples_find_their_pages(self):
        kinds = {".ndb": {"Demo.Script.Writer", "Demo.Script.Decoder"},
                 ".db": {"Demo.Frame.Hidden", "Demo.Script.Reload"},
                 ".hdb": {"Demo.Page.Copy"}}
        kinds[""] = set.union(*kinds.values())  # the container
        for kind, names in kinds.items():
            patterns = EXAMPLES / "patterns" / f"sample{kind}"
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
