"""What bench and bench growth put into docs/performance.md."""
import os
import subprocess
import textwrap

from kvtest.wine import SOURCE

PAGE = SOURCE / "docs" / "performance.md"


def markdown(rows):
    """The rows as a table of Markdown; the first is its head."""
    head, *rest = [[str(cell) for cell in row] for row in rows]
    lines = [head, ["---"] * len(head), *rest]
    return "".join("| " + " | ".join(line) + " |\n" for line in lines)


def insert(name, text):
    """Replaces what is between the page's marks of this name."""
    start, end = f"<!-- {name}: written by scripts/bench -->\n", f"<!-- end of {name} -->\n"
    before, found, rest = PAGE.read_text().partition(start)
    _, found_end, after = rest.partition(end)
    if not (found and found_end):
        raise SystemExit(f"bench: {PAGE} has no place for {name}")
    parts = [part if part.startswith("|") else textwrap.fill(part, 120) for part in text.strip().split("\n\n")]
    PAGE.write_text(before + start + "\n" + "\n\n".join(part.rstrip("\n") for part in parts) + "\n\n" + end + after)


def machine():
    """On what a run was measured, in one sentence."""
    with open("/proc/cpuinfo", encoding="utf-8") as info:
        model = next((line.split(":")[1].strip() for line in info if line.startswith("model name")), "processors")
    wine = subprocess.run(["/usr/lib/wine/wine64", "--version"], capture_output=True, text=True, check=False)
    return (f"Measured with {wine.stdout.strip()} on {os.cpu_count()} processors ({model}), with a load average of"
            f" {os.getloadavg()[1]:.1f} at the end.")


def install(python, module, package):
    """Installs a module for that Python if it is missing."""
    if subprocess.run([python, "-c", f"import {module}"], capture_output=True, check=False).returncode != 0:
        install_packages(package)


def install_packages(*packages):
    """Installs Debian packages that are missing."""
    missing = [package for package in packages if not version(package)]
    script = f'cd "{SOURCE}" && . scripts/setup.sh && kv_install {" ".join(missing)}'
    if missing and (os.environ.get("KV_NO_INSTALL") or subprocess.run(["sh", "-euc", script], check=False).returncode != 0):
        raise SystemExit(f"bench: not installed: {' '.join(missing)}")


def version(package):
    """Of an installed package; empty for one that is not."""
    query = subprocess.run(["dpkg-query", "-W", "-f", "${db:Status-Status} ${Version}", package], capture_output=True,
                           text=True, check=False)
    status, _, number = query.stdout.partition(" ")
    return number if query.returncode == 0 and status == "installed" else ""
