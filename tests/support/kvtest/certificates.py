"""Certificates for tests, created with the openssl command in a folder of the caller.

The keys are RSA keys. Wine rejects one in some dozens of elliptic-curve signatures: those in which one of the two numbers
happens to be short.
"""

import datetime
import os
import shutil
import subprocess


def openssl(folder, *arguments):
    if shutil.which("openssl") is None:
        raise RuntimeError("the command openssl is missing")
    subprocess.run(["openssl", *arguments], cwd=folder, check=True, timeout=20, stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def make_authority(folder, name):
    """NAME.key and NAME.pem; the subject is unique, so that an older one in a store does not match."""
    serial = os.urandom(8).hex()
    openssl(folder, "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout",
            f"{name}.key", "-out", f"{name}.pem", "-days", "2", "-subj", f"/CN=Test authority {name} {serial}",
            "-addext", "basicConstraints=critical,CA:TRUE", "-addext", "keyUsage=critical,keyCertSign,cRLSign")


def make_certificate(folder, name, authority, alternative_name, first_day, last_day):
    """NAME.pem with its key and the authority's certificate, valid between the two days from today."""
    openssl(folder, "req", "-new", "-newkey", "rsa:2048", "-nodes", "-keyout",
            f"{name}.key", "-out", f"{name}.csr", "-subj", f"/CN={name}.example")
    (folder / f"{name}.ext").write_text(f"subjectAltName={alternative_name}\nextendedKeyUsage=serverAuth\n")
    (folder / "index.txt").touch()
    (folder / "ca.cnf").write_text(
        "[ca]\ndefault_ca=a\n[a]\ndatabase=index.txt\nnew_certs_dir=.\ndefault_md=sha256\nrand_serial=yes\n"
        "unique_subject=no\npolicy=p\n[p]\ncommonName=supplied\n")
    now = datetime.datetime.now(datetime.timezone.utc)
    day = lambda offset: (now + datetime.timedelta(days=offset)).strftime("%Y%m%d%H%M%SZ")
    openssl(folder, "ca", "-batch", "-notext", "-config", "ca.cnf", "-cert", f"{authority}.pem", "-keyfile",
            f"{authority}.key", "-in", f"{name}.csr", "-out", f"{name}.crt", "-startdate", day(first_day), "-enddate",
            day(last_day), "-extfile", f"{name}.ext")
    (folder / f"{name}.pem").write_text("".join(
        (folder / part).read_text() for part in (f"{name}.key", f"{name}.crt", f"{authority}.pem")))
