"""A comparable open-source sender: sentry-go, which reports the events and errors of programs to a server over HTTP, with
queue, retries and filters. Built here for Windows from Debian's packages of it and of the Go compiler."""
import os
import subprocess

import report
from kvtest.wine import SOURCE

COMPILER, LIBRARY = "golang-go", "golang-github-getsentry-sentry-go-dev"
# No symbols, graphical subsystem and no paths of this machine, as the program.
FLAGS = ["-trimpath", "-ldflags", "-s -w -H windowsgui"]
SOURCE_FILE = SOURCE / "bench" / "sender" / "main.go"


def build(folder):
    """The program's path."""
    report.install_packages(COMPILER, LIBRARY)
    program = folder / "sender.exe"
    environment = dict(os.environ, GO111MODULE="off", GOPATH="/usr/share/gocode", GOCACHE=str(folder / "go-cache"),
                       GOOS="windows", GOARCH="amd64", CGO_ENABLED="0")
    subprocess.run(["go", "build", *FLAGS, "-o", program, SOURCE_FILE], env=environment, check=True)
    return program


def describe(folder):
    """What was measured, in one sentence."""
    versions = [report.version(package) for package in (LIBRARY, COMPILER)]
    size = (folder / "sender.exe").stat().st_size
    return (f"The comparable sender is sentry-go {versions[0]}, built with Go {versions[1]} and the flags"
            f" `{' '.join(FLAGS)}`: {size} bytes.")
