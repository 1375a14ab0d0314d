"""test_signed.py WORK BUILD PROGRAM: the archives of a build with KV_SIGN_COMMAND and with a licence, in the checkout that
two_builds has built below WORK. PROGRAM is the unsigned program of BUILD.
"""

import hashlib
import pathlib
import subprocess
import sys
import unittest
import zipfile

from kvtest.certificates import openssl

WORK, BUILD, PROGRAM = map(pathlib.Path, sys.argv[1:4])
SOURCE = WORK / "another" / "place of a longer name"
TREE = SOURCE / "build" / "release"
LICENCE = "Nothing is permitted.\nEverything else is.\n"
NO_LICENCE = "No file LICENSE: the archives say nothing about the licence of this project"


def run(*command, status=0):
    done = subprocess.run(command, cwd=SOURCE, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          timeout=240, check=False, text=True, errors="replace")
    if done.returncode != status:
        raise RuntimeError(f"{' '.join(map(str, command))} ended with {done.returncode}:\n{done.stdout[:8000]}")
    return done.stdout


def configure(*options):
    return run("cmake", "--preset", "release", "-DKV_BUILD_TESTS=OFF", *options)


class SignedTests(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.archives = WORK / "archives"
        cls.certificate = WORK / "signer.pem"
        openssl(WORK, "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                "-keyout", "signer.key", "-out", "signer.pem",
                "-days", "2", "-subj", "/CN=Throw-away signer", "-addext", "extendedKeyUsage=codeSigning")
        sign = [SOURCE / "packaging" / "sign_with_osslsigncode", "-certs", cls.certificate, "-key", WORK / "signer.key"]
        cls.without_licence = configure()
        (SOURCE / "LICENSE").write_text(LICENCE, encoding="utf-8")
        cls.with_licence = configure(f"-DKV_SIGN_COMMAND={';'.join(map(str, sign))}")
        run("cmake", "--build", "--preset", "release", "--target", "kv_delivered")
        run("cpack", "--config", TREE / "CPackConfig.cmake", "-D", "CPACK_COMPONENTS_ALL=program", "-B", cls.archives)
        archive, = cls.archives.glob("*.zip")
        cls.content = WORK / "content"
        with zipfile.ZipFile(archive) as packed:
            packed.extractall(cls.content)

    def assertSigned(self, file):
        output = run("osslsigncode", "verify", "-CAfile", self.certificate, "-in", file)
        self.assertIn("Signature verification: ok", output)
        self.assertIn("/CN=Throw-away signer", output)

    def test_every_program_in_the_archive_is_signed(self):
        programs = list(self.content.glob("bin/*.exe"))
        self.assertIn(PROGRAM.name, [program.name for program in programs])
        for program in programs:
            self.assertSigned(program)

    def test_installer_is_signed_and_has_the_signed_program(self):
        installer, = self.archives.glob("*.msi")
        self.assertSigned(installer)
        run("msiextract", "-C", WORK / "extracted", installer)
        program, = (WORK / "extracted").rglob(PROGRAM.name)
        self.assertEqual(program.read_bytes(), (self.content / "bin" / PROGRAM.name).read_bytes())

    def test_sums_are_those_of_the_signed_files(self):
        sums = (self.archives / "SHA256SUMS").read_text(encoding="ascii").splitlines()
        self.assertEqual(len(sums), 2)
        for line in sums:
            digest, name = line.split("  ")
            self.assertEqual(digest, hashlib.sha256((self.archives / name).read_bytes()).hexdigest())

    def test_program_of_the_build_stays_unsigned_and_the_same(self):
        self.assertEqual((TREE / PROGRAM.relative_to(BUILD)).read_bytes(), PROGRAM.read_bytes())
        self.assertIn("No signature found", run("osslsigncode", "verify", "-CAfile", self.certificate, "-in", PROGRAM, status=1))

    def test_changed_program_is_no_longer_valid(self):
        changed = WORK / "changed.exe"
        content = bytearray((self.content / "bin" / PROGRAM.name).read_bytes())
        content[0x2000] ^= 1
        changed.write_bytes(content)
        self.assertNotIn("Signature verification: ok",
                         run("osslsigncode", "verify", "-CAfile", self.certificate, "-in", changed, status=1))

    def test_licence_is_installed_when_there_is_one_and_its_lack_is_told(self):
        self.assertIn(NO_LICENCE, self.without_licence)
        self.assertNotIn(NO_LICENCE, self.with_licence)
        self.assertEqual((self.content / "LICENSE.txt").read_bytes(), LICENCE.replace("\n", "\r\n").encode("utf-8"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
