"""The programs as a user runs them: zvk and the example hosts. And the examples in documents."""

import hashlib
import itertools
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

ZVK, HOSTS, SOURCE = sys.argv[1], sys.argv[2:4], Path(sys.argv[4])
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
    """The sections of a container, read as docs/container-format.md says: magics and lines."""
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

    def lines(self, name, content, *arguments):
        """Writes a file and runs a command on it; returns the objects that it prints."""
        _, out, _ = run(*arguments, self.write(name, content), "--json")
        return [json.loads(line) for line in out.splitlines()]

    def test_scan_of_files_folders_and_standard_input(self):
        page = self.write("pages/a.html", PAGE + EVIL)
        self.write("pages/b/clean.html", b"x<br>")
        text = self.write("pages/c.txt", b"just text")
        status, out, err = self.scan("--verbose", self.folder / "pages", "-", stdin=PAGE)
        self.assertEqual((status, err), (1, ""))
        results = out.splitlines()
        self.assertEqual(results[:4],
                         [f"{page}: Evil", f"{page}: Evil", f"{text}: (not scannable)", "-: Evil"])
        self.assertRegex(results[4], "^-- 4 files, [0-9]+ bytes, 3 detections, 1 refused")
        for jobs, chunk in (("1", "1"), ("1", "1000"), ("7", "256")):
            again = self.scan("--jobs", jobs, "--chunk", chunk, self.folder / "pages")
            self.assertEqual(again[1].splitlines()[:2], results[:2])
        self.assertEqual(self.scan("--first", page)[1].count("Evil"), 1)
        self.assertEqual(self.scan(self.folder / "pages/b")[0], 0)
        # A name that is not UTF-8, and a file that is missing, in JSON.
        rows = self.lines("odd\n\udcff.html", PAGE, "scan", "-p", self.patterns, "none")
        self.assertEqual([row["type"] for row in rows], ["error", "detection", "summary"])
        self.assertEqual(rows[1]["name"], "Evil")
        self.assertEqual((rows[2]["files"], rows[2]["detections"]), (1, 1))
        self.assertEqual(len(self.scan(self.folder / "odd\n\udcff.html")[1].splitlines()), 2)

    def test_filter_copies_with_blanks(self):
        both = b"a<script>x</script><embed/>" + b"." * 70000 + b"<nosc"
        page = self.write("a.html", both)
        rest = "." * 70000 + "<nosc"
        for options, stdin, *expected in (
                ((), both, 1, "a" + " " * 26 + rest),
                (("--objects", "-"), both, 1, "a<script>x</script>        " + rest),
                (("--scripts", page, "-"), b"b", 1, "a" + " " * 18 + "<embed/>" + rest + "b"),
                (("--scripts",), b"<embed>", 0, "<embed>")):
            self.assertEqual(run("filter", *options, stdin=stdin), (*expected, ""))

    def test_filter_scans_if_asked_to(self):
        found, text = self.write("a.html", PAGE + EVIL), self.write("b.txt", b"MZ<object>.")
        both = run("filter", "--scan", "-p", self.patterns, text, found)
        self.assertEqual(both, (1, "MZ" + " " * 9 + (PAGE + EVIL).decode(),
                                f"{text}: (not scannable)\n{found}: Evil\n{found}: Evil\n"))
        refused = run("filter", "--scan", "-p", self.patterns, "-", stdin=b"x")
        self.assertEqual(refused, (0, "x", "-: (not scannable)\n"))

    def test_errors_name_what_is_wrong(self):
        page = self.write("a.html", PAGE)
        unknown = self.write("set.txt", b"")
        container = self.write("container", b"VQPattern")
        link, dangling = self.folder / "link", self.folder / "dangling"
        link.symlink_to(self.patterns)
        dangling.symlink_to(self.folder / "nowhere")
        scan = ("scan", "-p", self.patterns)
        pack = ("pack", "-o", self.folder / "x")
        none = self.folder / "none.db"
        cases = [
            ((), "subcommand"),
            ((*scan, "--chunk", "0", page), "--chunk"),
            ((*scan, "--all", "--first", page), "--first"),
            ((*scan, "/proc/self/mem"), "/proc/self/mem"),
            (("scan", "-p", none, page), "none.db"),
            (("scan", "-p", self.folder, page), str(self.folder)),
            (("scan", "-p", unknown, page), ".hdb"),
            (("info", "-p", self.patterns, "-u", none), "none.db"),
            (("pack", "-o", self.folder / "x.y", self.patterns), "x.y"),
            (("pack", "-o", self.folder / "no/x", self.patterns), "no/x"),
            (("pack", "-o", "/dev/full", self.patterns), "/dev/full"),
            (("pack", "-o", link, self.patterns), "which is to be packed"),
            (("pack", "-o", dangling, self.patterns), "dangling"),
            ((*pack, unknown), str(unknown)),
            ((*pack, "--cipher", "aes", self.patterns), "aes"),
            ((*pack, "--set-version", "1.2.3", self.patterns), "1.2.3"),
            ((*pack, "--set-version", "1.2.3.4.", self.patterns), "1.2.3.4."),
            ((*pack, "--build-time", "0x10", self.patterns), "0x10"),
            (("inspect", "/dev/null"), "/dev/null"),
            (("unpack", container, "-o", self.folder / "o"), "offset 9 of the file"),
            (("filter", "-p", self.patterns, page), "--scan"),
            (("filter", self.folder), str(self.folder)),
            (("keywords", "-l", container, "-l", none, page), "none.db: cannot"),
            (("keywords", "-l", container, none), "none.db"),
            (("keywords", "-l", unknown, page), "set.txt: no keyword"),
        ]
        for arguments, named in cases:
            with self.subTest(arguments=arguments):
                status, _, err = run(*arguments)
                self.assertEqual((status, len(err.splitlines())), (2, 1), err)
                self.assertIn(named, err)
        for command, first in (scan, f"{page}: Evil"), (("filter",), PAGE.decode()):
            status, out, err = run(*command, none, page)
            self.assertEqual((status, out.splitlines()[0]), (2, first))
            self.assertIn("none.db", err)
            with open("/dev/full", "wb") as full:
                self.assertEqual(run(*command, page, stdout=full)[0], 2)

    def test_info_numbers_refused_lines(self):
        lines = b"Good=61626364656667686970\n\n# no comment\nShort=6162\n"
        rows = self.lines("set.db", lines, "info", "-p")
        self.assertEqual([row.get("line") for row in rows], [None, None, 2, 3, 4])
        patterns = self.folder / "set.db"
        status, out, err = run("info", "-p", patterns)
        self.assertEqual((status, err), (1, ""))
        for text in ("Engine Build Time: 2009-06-05 05:25:34\nEngine Version   : 1.1.0.37\nKernel",
                     "Pattern count    : 1\n", f"{patterns}:2: ", f"{patterns}:4: Malformed bm string"):
            self.assertIn(text, out)
        self.assertEqual(run("info", "-p", self.patterns)[0], 0)
        slow = b"".join(b"S%d:0:*:6161??%02x??62\n" % (i, 0x61 + i) for i in range(7))
        slow += b"Fast:0:*:6161??61626364\nParts:0:*:61626364*6162??63\n"
        slow += b"Same:0:*:6162??63*61626364\n"
        rows = self.lines("slow.ndb", slow, "info", "-p")
        names = ["Parts", *(f"S{i}" for i in range(7)), "Same"]
        self.assertEqual((rows[-1]["type"], rows[-1]["names"]), ("slowSignatures", names))
        status, out, _ = run("info", "-p", self.folder / "slow.ndb")
        self.assertEqual((status, out.splitlines()[-1].split(": ")[-1]),
                         (0, "Parts, S0, S1, S2, S3 and 4 more"))
        status, out, err = run("scan", "-p", patterns, self.write("a.html", PAGE))
        self.assertEqual((status, len(out.splitlines())), (0, 1))
        self.assertIn("3 lines refused", err)

    def test_pack_writes_what_another_reader_reads(self):
        names = [b"N" * 126, b"Twice", b"Twice", b"\xffodd"]
        basic = [b"%s=%020d" % (name, i) for i, name in enumerate(names)]
        extended = [b"%s:0:*:6162??" % name for name in names]
        md5 = [b"%s:%d:%s" % (hashlib.md5(name).hexdigest().encode(), i, name)
               for i, name in enumerate(names)]
        files = [self.write(f"set.{kind}", b"\n".join(lines))
                 for kind, lines in (("ndb", extended), ("db", basic), ("hdb", md5))]
        packed, again, plain = (self.folder / name for name in ("packed", "again", "plain"))
        settings = ("--set-version", "1.20.300.4294967295", "--build-time", "4000000000")
        for cipher, form in itertools.product(("none", "des", "3des"), ("fixed", "variable")):
            with self.subTest(cipher=cipher, form=form):
                options = ("--cipher", cipher, "--names", form, *settings)
                for path in packed, again:
                    self.assertEqual(run("pack", "-o", path, *options, *files)[::2], (0, ""))
                self.assertEqual(packed.read_bytes(), again.read_bytes())
                self.assertEqual(read_container(packed.read_bytes()),
                                 [(0xABAB0001, extended), (0xABAB0000, basic), (0xABAB0002, md5)])
                printed = run("inspect", "--json", "--records", packed)[1].splitlines()
                header, summary = json.loads(printed[0]), json.loads(printed[-1])
                self.assertEqual((header["version"], summary["records"], summary["names"]),
                                 ("1.20.300.4294967295", 12, 3))
        status, out, _ = run("unpack", packed, "-o", plain)
        self.assertEqual(status, 0)
        self.assertEqual([Path(path).read_bytes() for path in out.splitlines()],
                         [b"\n".join(lines) + b"\n" for lines in (extended, basic, md5)])
        self.assertEqual(run("unpack", packed, "-o", plain)[0], 2)
        self.assertEqual(run("unpack", "--force", packed, "-o", plain)[0], 0)
        run("pack", "-o", again, *options, *out.splitlines())
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
        self.assertEqual(run("pack", "-o", packed, "--strict", patterns)[0], 2)
        self.assertFalse(packed.exists())
        self.write("packed", b"").chmod(0o600)
        status, _, err = run("pack", "-o", packed, patterns)
        self.assertEqual(status, 1)
        self.assertRegex(err, f"{patterns}:2: .*\n.*{patterns}:3: .*up to 126\n")
        self.assertEqual(packed.stat().st_mode & 0o777, 0o600)
        self.assertEqual(read_container(packed.read_bytes())[0][1], [b"Good=61626364656667686970"])
        self.assertEqual({path.name for path in self.folder.iterdir()},
                         {"packed", "set.db", "set.ndb"})

    def test_inspect_reports_what_is_wrong_and_where(self):
        packed = self.folder / "packed"
        run("pack", "-o", packed, self.patterns)
        sound = packed.read_bytes()

        def body_with(offset, number):
            body = bytearray(zlib.decompress(sound[84:]))
            struct.pack_into("<I", body, offset, number)
            deflated = zlib.compress(body)
            return (sound[:44] + struct.pack("<I", len(deflated)) + hashlib.md5(deflated).digest() +
                    sound[64:84] + deflated)

        cases = [
            (sound[:50], "offset 50 of the file"),
            (sound + b"x", "offset 44 of the file"),
            (b"X" + sound[1:], "offset 0 of the file"),
            (sound[:80] + b"\x09" + sound[81:], "offset 80 of the file: unknown cipher method 9"),
            (sound[:-1] + b"x", "offset 48 of the file"),
            (sound[:64] + b"\xff" + sound[65:], "of 255 in the section table"),
            (body_with(4, 2), "section 1, record 2"),
            (body_with(36, 5000), "offset 36 of the restored body"),
            (body_with(12, 5000), "offset 5000 of the restored body"),
        ]
        for data, fault in cases:
            with self.subTest(fault=fault):
                self.assertEqual(self.lines("broken", data, "inspect")[-1]["type"], "fault")
                status, _, err = run("inspect", self.folder / "broken")
                self.assertEqual(status, 1)
                self.assertIn(fault, err)
        self.assertEqual(run("inspect", packed)[0], 0)

    def test_keywords_of_lists_with_odd_lines(self):
        words = self.write("words.txt", b"# no\n\n \t\nFoo\r\nx\nA b\n foo\nnul\0\nFOO\n"
                           + b"y" * 257 + b"\n#")
        command = ("keywords", "--list", words, "-l", self.write("more.txt", b"foobars\noo"))
        rows = self.lines("a.bin", b"\0MZ\r\na B\nFooBar \xff", *command)
        page = self.folder / "a.bin"
        self.assertEqual(rows[0], {"type": "detection", "path": str(page), "name": "Foo"})
        status, out, err = run(*command, page, "-", stdin=b"fo o")
        self.assertEqual(status, 1)
        self.assertEqual(out.splitlines()[:-1], [f"{page}: {word}" for word in ("Foo", "A b", "oo")])
        self.assertEqual([line.split(" keyword")[0] for line in err.splitlines()],
                         [f"zvk: {words}:{number}:" for number in (5, 8, 10)])
        self.assertEqual(run(*command, "-", stdin=b"fo o")[0], 0)

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
            *found, _ = run("keywords", "-l", words_file, "-", stdin=text.encode())[1].splitlines()
            self.assertEqual(found, [f"-: {word}" for word in words if word.lower() in text.lower()])
            self.assertTrue(100 < len(found) < len(words))

    def test_the_samples_find_their_pages(self):
        kinds = {".ndb": {"Demo.Script.Writer", "Demo.Script.Decoder"},
                 ".db": {"Demo.Frame.Hidden", "Demo.Script.Reload"},
                 ".hdb": {"Demo.Page.Copy"}}
        kinds[""] = set.union(*kinds.values())  # the container
        for kind, expected in kinds.items():
            patterns = EXAMPLES / "patterns" / f"sample{kind}"
            out = run("scan", "--json", "-p", patterns, EXAMPLES / "pages")[1]
            rows = [json.loads(line) for line in out.splitlines()[:-1]]
            found = {(row["path"], row["name"]) for row in rows}
            self.assertEqual({name for _, name in found}, expected)
            for page in (EXAMPLES / "pages").iterdir():
                names = {name for path, name in found if path == str(page)}
                for host in HOSTS:
                    status, out, _ = run(patterns, page, program=host)
                    self.assertEqual(set(re.findall("^found: (.*)", out, re.M)), names, host)
                    self.assertEqual(status, 1 if names else 0)
        for host in HOSTS:
            for arguments in (), (self.patterns, self.folder / "none"):
                self.assertEqual(run(*arguments, program=host)[0], 2)

    def test_the_readme_shows_the_host_as_it_is(self):
        self.assertIn((EXAMPLES / "host.c").read_text(), (SOURCE / "README.md").read_text())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
