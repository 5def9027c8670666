#!/usr/bin/env python3
"""Installs what was built into folders that pass, looks at what is there, and uses it as others would.

Usage: installed.py BUILD_DIR VERSION [unittest arguments]; the whole of BUILD_DIR has to be built
"""
import gzip
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD, VERSION = os.path.abspath(sys.argv[1]), sys.argv[2]
HERE = os.path.dirname(os.path.abspath(__file__))
MANUAL = os.path.join(os.path.dirname(os.path.dirname(HERE)), "docs")
CONSUMER = os.path.join(HERE, "consumer")
SAID = "4B37 163\n"  # Both consumers: a check value, and word 10, bit 3.
CHECK_SETTINGS = ["check", "--settings", "line.toml", "--tags", "tags.csv"]

with open(os.path.join(BUILD, "CMakeCache.txt"), encoding="utf-8") as cache_file:
    CACHE = dict(line.rstrip("\n").split(":", 1)[::1] for line in cache_file if ":" in line and "=" in line)
CACHE = {name: value.split("=", 1)[1] for name, value in CACHE.items() if "=" in value}
LIBDIR = CACHE["CMAKE_INSTALL_LIBDIR"]
HAS_TOOLS = CACHE["EC_BUILD_TOOLS"] == "ON"
COMPILER = [CACHE["CMAKE_CXX_COMPILER"], *CACHE["CMAKE_CXX_FLAGS"].split()]

# Folders of examples that are programs come on top, and the manual.
EXPECTED = f"""\
{LIBDIR}/emerson_ec_series/libemerson_ec_series.so
{LIBDIR}/cmake/emerson_ec_series/emerson_ec_series-config.cmake
{LIBDIR}/cmake/emerson_ec_series/emerson_ec_series-config-version.cmake
{LIBDIR}/cmake/emerson_ec_series/emerson_ec_series-targets.cmake
{LIBDIR}/cmake/emerson_ec_series/emerson_ec_series-targets-{CACHE["CMAKE_BUILD_TYPE"].lower()}.cmake
{LIBDIR}/pkgconfig/emerson_ec_series.pc
include/emerson_ec_series/driver/checksum.h
include/emerson_ec_series/driver/driver_object.h
include/emerson_ec_series/driver/emerson_ec_series.h
include/emerson_ec_series/driver/export.h
include/emerson_ec_series/driver/records.h
share/doc/emerson-ec-series/changelog.Debian.gz
share/doc/emerson-ec-series/changelog.gz
share/doc/emerson-ec-series/copyright
share/doc/emerson-ec-series-dev/changelog.Debian.gz
share/doc/emerson-ec-series-dev/changelog.gz
share/doc/emerson-ec-series-dev/copyright
""".split()
EXPECTED_TOOLS = """\
bin/ecpanel
bin/ecsim
share/bash-completion/completions/ecpanel
share/bash-completion/completions/ecsim
share/doc/emerson-ec-series-tools/changelog.Debian.gz
share/doc/emerson-ec-series-tools/changelog.gz
share/doc/emerson-ec-series-tools/copyright
share/doc/emerson-ec-series-tools/docs/device-types.md
share/doc/emerson-ec-series-tools/docs/host.md
share/doc/emerson-ec-series-tools/docs/simulator.md
share/doc/emerson-ec-series-tools/docs/trace.md
share/doc/emerson-ec-series-tools/examples/line.toml
share/doc/emerson-ec-series-tools/examples/plc.toml
share/doc/emerson-ec-series-tools/examples/tags.csv
share/man/man1/ecpanel.1.gz
share/man/man1/ecsim.1.gz
""".split()


def run(*command, code=0, **options):
    result = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                            text=True, **options)
    assert result.returncode == code, "%s\nended with %d:\n%s" % (" ".join(command), result.returncode, result.stdout)
    return result.stdout


def files_below(folder):
    return sorted(os.path.relpath(os.path.join(path, name), folder)
                  for path, _, names in os.walk(folder) for name in names)


def needed(program):
    return [line.split("[")[1].rstrip("]") for line in run("readelf", "-d", program).splitlines() if "(NEEDED)" in line]


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp(prefix="installed-test-")
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.prefix = os.path.join(cls.folder, "first", "prefix")
        run("cmake", "--install", BUILD, "--prefix", cls.prefix)
        cls.plugin = os.path.join(cls.prefix, LIBDIR, "emerson_ec_series", "libemerson_ec_series.so")
        cls.environment = {**os.environ, "PKG_CONFIG_PATH": os.path.join(cls.prefix, LIBDIR, "pkgconfig")}

    def pkg_config(self, *arguments):
        return run("pkg-config", *arguments, "emerson_ec_series", env=self.environment).split()

    def compiled(self, name):
        program = os.path.join(self.folder, name)
        run(*COMPILER, "-fPIC", os.path.join(CONSUMER, name + ".cpp"), *self.pkg_config("--cflags", "--libs"),
            "-o", program)
        return program

    def test_below_destdir_there_is_what_there_should_be(self):
        destdir = os.path.join(self.folder, "destdir")
        run("cmake", "--install", BUILD, env={**os.environ, "DESTDIR": destdir})
        prefix = destdir + CACHE["CMAKE_INSTALL_PREFIX"]
        files = [name for name in files_below(prefix)
                 if "/emerson-ec-series-dev/examples/" not in name and "/emerson-ec-series-dev/docs/" not in name]
        self.assertEqual(files, sorted(EXPECTED + (EXPECTED_TOOLS if HAS_TOOLS else [])))
        self.assertEqual(files_below(destdir), sorted(
            os.path.join(CACHE["CMAKE_INSTALL_PREFIX"], name)[1:] for name in files_below(prefix)))
        with open(os.path.join(prefix, LIBDIR, "pkgconfig", "emerson_ec_series.pc"), encoding="utf-8") as file:
            self.assertEqual(file.readline(), "prefix=%s\n" % CACHE["CMAKE_INSTALL_PREFIX"])

    def test_the_manual_comes_with_the_headers(self):
        pages = files_below(os.path.join(self.prefix, "share/doc/emerson-ec-series-dev/docs"))
        self.assertIn("interface.md", pages)  # The header sends its reader there.
        self.assertEqual(pages, [name for name in files_below(MANUAL) if not name.startswith("site/")])

    def test_nothing_that_is_text_knows_the_build(self):
        for name in files_below(self.prefix):
            with (gzip.open if name.endswith(".gz") else open)(os.path.join(self.prefix, name), "rb") as file:
                content = file.read()
            if not content.startswith(b"\x7fELF"):
                self.assertNotIn(BUILD.encode(), content, name)

    def test_one_version_everywhere(self):
        self.assertEqual(self.pkg_config("--modversion"), [VERSION])
        with gzip.open(os.path.join(self.prefix, "share/doc/emerson-ec-series/changelog.Debian.gz"), "rt") as file:
            self.assertTrue(file.readline().startswith("emerson-ec-series (%s-1) " % VERSION))
        if HAS_TOOLS:
            for name in ("ecpanel", "ecsim"):
                self.assertEqual(run(os.path.join(self.prefix, "bin", name), "--version"), "%s %s\n" % (name, VERSION))
                with gzip.open(os.path.join(self.prefix, "share/man/man1", name + ".1.gz"), "rt") as file:
                    self.assertIn('"%s %s"' % (name, VERSION), file.read())

    def test_pkg_config_leads_to_a_program_that_calls_the_driver(self):
        program = self.compiled("calling")
        self.assertIn("libemerson_ec_series.so", needed(program))
        self.assertEqual(run(program), SAID)

    def test_pkg_config_leads_to_a_program_that_loads_the_driver(self):
        self.assertEqual(self.pkg_config("--variable=plugin"), [self.plugin])
        program = self.compiled("loading")
        self.assertNotIn("libemerson_ec_series.so", needed(program))
        self.assertEqual(run(program, self.plugin), SAID)

    def configure(self, build, version, **options):
        return run("cmake", "-G", CACHE["CMAKE_GENERATOR"], "-S", CONSUMER, "-B", build, "-DWANTED_VERSION=" + version,
                   "-DCMAKE_PREFIX_PATH=" + self.prefix, "-DCMAKE_CXX_COMPILER=" + COMPILER[0],
                   "-DCMAKE_CXX_FLAGS=" + " ".join(COMPILER[1:]), **options)

    def test_find_package_leads_to_both_programs(self):
        build = os.path.join(self.folder, "consumer")
        self.configure(build, VERSION)
        run("cmake", "--build", build)
        with open(os.path.join(build, "plugin"), encoding="utf-8") as file:
            self.assertEqual(file.read(), self.plugin)
        self.assertIn("libemerson_ec_series.so", needed(os.path.join(build, "calling")))
        self.assertNotIn("libemerson_ec_series.so", needed(os.path.join(build, "loading")))
        self.assertEqual(run(os.path.join(build, "calling")), SAID)
        self.assertEqual(run(os.path.join(build, "loading"), self.plugin), SAID)

    def test_find_package_refuses_another_version(self):
        wanted = str(int(VERSION.split(".")[0]) + 1)
        out = self.configure(os.path.join(self.folder, "refused"), wanted, code=1)
        self.assertIn('compatible with requested version "%s"' % wanted, out)


@unittest.skipUnless(HAS_TOOLS, "built without the tools")
class Moved(unittest.TestCase):
    """The programs find the driver and each other from where they lie, after the whole was moved too."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="installed-test-")
        self.addCleanup(folder.cleanup)
        first = os.path.join(folder.name, "first")
        run("cmake", "--install", BUILD, "--prefix", first)
        self.prefix = os.path.join(folder.name, "second")
        os.rename(first, self.prefix)
        self.ecpanel = os.path.join(self.prefix, "bin", "ecpanel")
        self.examples = os.path.join(self.prefix, "share/doc/emerson-ec-series-tools/examples")

    def test_demo_needs_no_path(self):
        out = run(self.ecpanel, "demo", "--live-seconds", "1", "--patience", "5", cwd=self.prefix)
        self.assertRegex(out, r"\nAll \d+ checks passed\.\n$")

    def test_the_examples_need_no_path(self):
        self.assertIn("line.toml: ", run(self.ecpanel, *CHECK_SETTINGS, cwd=self.examples))

    def test_a_missing_driver_is_missed(self):
        os.remove(os.path.join(self.prefix, LIBDIR, "emerson_ec_series", "libemerson_ec_series.so"))
        out = run(self.ecpanel, *CHECK_SETTINGS, cwd=self.examples, code=2)
        self.assertIn("line.toml: driver.path: no driver at ", out)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)
