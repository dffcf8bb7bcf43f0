#!/usr/bin/env python3
"""Runs the tests on a booted 64-bit ARM kernel in emulation, as root. usage: boot.py <ARM build> <work folder> [regex]

The packages of the kernel and of busybox are fetched and unpacked under the work folder, not installed. What boots is an
archive in memory: busybox, the programs of the build with the names of their functions and the libraries they need, and kernel modules. The code of
the exit is the number that the first process writes last; without it the run failed, whatever was printed.
"""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

MODULES = ("veth", "tun", "dummy", "bridge", "8021q", "macvlan", "sch_netem", "loop", "zram", "mtd", "usbip-host", "binfmt_misc")
LIBRARIES = [Path("/usr/lib/aarch64-linux-gnu"), Path("/lib/aarch64-linux-gnu"), Path("/usr/aarch64-linux-gnu/lib")]
SECONDS = 1200
END_WORD = "the tests ended with "

INIT = """#!/bin/busybox sh
/bin/busybox --install -s /bin
export PATH=/bin:/programs HOME=/root TZ=UTC
mount -t proc proc /proc
mount -t sysfs sysfs /sys
mount -t devtmpfs devtmpfs /dev
mkdir -p /dev/pts /dev/shm /tmp /root /var/run /mnt
mount -t devpts devpts /dev/pts
for folder in /dev/shm /tmp /var/run; do mount -t tmpfs tmpfs $folder; done
mount -t cgroup2 cgroup2 /sys/fs/cgroup
ln -s /proc/self/fd /dev/fd
hostname device
ip link set lo up
while read module; do insmod $module || echo "cannot load $module"; done </modules/order
regex=$(cat /regex)
failed=0
ran=0
for program in /programs/*_test; do
    folder=${program##*/}; folder=${folder%_test}
    filter=$($program --gtest_list_tests | awk -v folder="$folder" -v regex="$regex" '
        /^[^ ]/ { suite = $1 }
        /^ / && (folder "/" suite $1) ~ regex { printf "%s%s:", suite, $1 }')
    [ -n "$filter" ] || continue
    echo "-- $folder"
    ran=1
    cd /tmp
    timeout -s KILL 300 $program --gtest_filter="$filter" </dev/null || { echo "$folder failed: $?"; failed=1; }
done
[ $ran = 1 ] || { echo "no test has a name that matches '$regex'"; failed=1; }
dmesg | grep -E "Oops|BUG|WARNING" && failed=1
echo "WORD$failed"
sync
poweroff -f
"""


def fetch(package, work):
    """The folder of an unpacked Debian package; one that only names the newest kernel stands for that."""
    needs = subprocess.run(["apt-cache", "depends", package], check=True, capture_output=True, text=True).stdout
    named = re.search(r"Depends: (linux-image-\S+)", needs)
    package = named.group(1) if named else package
    folder = work / package.partition(":")[0]
    if not (folder / "unpacked").exists():
        print(f"fetching {package}", flush=True)
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir()
        subprocess.run(["apt-get", "download", "-qq", "-o", "APT::Sandbox::User=root", package], check=True, cwd=folder)
        subprocess.run(["dpkg-deb", "-x", next(folder.glob("*.deb")), folder], check=True)
        (folder / "unpacked").touch()
    return folder


def field(module, name):
    """A field of the description that is built into a module."""
    found = re.search(rb"\0" + name + rb"=([^\0]*)\0", b"\0" + module.read_bytes())
    return found.group(1).decode() if found else ""


def modules(kernel, root):
    """Copies the modules and those they need, and the order in which they load."""
    every = {path.stem.replace("-", "_"): path for path in (kernel / "lib/modules").rglob("*.ko")}
    order = []

    def visit(name):
        path = every.get(name.replace("-", "_"))
        if path is None or path.name in order:
            return
        for needed in filter(None, field(path, b"depends").split(",")):
            visit(needed)
        order.append(path.name)
        shutil.copy(path, root / "modules" / path.name)

    for name in MODULES:
        visit(name)
    (root / "modules/order").write_text("".join(f"/modules/{name}\n" for name in order))


def needed(program):
    listed = subprocess.run(["readelf", "-d", program], check=True, capture_output=True, text=True).stdout
    return re.findall(r"\(NEEDED\).*\[(.*)\]", listed)


def programs(build, root):
    """Copies the programs, stripped, and all libraries that they reach."""
    open_ = [path for path in (build / "bin").iterdir() if path.is_file() and os.access(path, os.X_OK)]
    for program in open_:
        subprocess.run(["aarch64-linux-gnu-strip", "--strip-debug", "-o", root / "programs" / program.name, program], check=True)
    done = {"ld-linux-aarch64.so.1"}
    wanted = ["ld-linux-aarch64.so.1", *sum((needed(program) for program in open_), [])]
    while wanted:
        name = wanted.pop()
        if name in done and (root / "lib" / name).exists():
            continue
        done.add(name)
        found = next((folder / name for folder in [build / "lib", *LIBRARIES] if (folder / name).exists()), None)
        if found is None:
            sys.exit(f"{name} is needed and not found")
        shutil.copy(found, root / "lib" / name)
        wanted += needed(found)


def conversions(root):
    """The tables of iconv that tests compare with: the C library finds them by this path."""
    tables = LIBRARIES[0] / "gconv"
    shutil.copytree(tables, root / str(tables)[1:], ignore=lambda _, names: [
        name for name in names if name.endswith(".so") and not name.startswith(("UTF-", "UNICODE", "ISO8859-"))])


def tls(openssl, root):
    """The program that makes the tests' certificates, its configuration, and the provider that the library loads by its path."""
    shutil.copy(openssl / "usr/bin/openssl", root / "bin/openssl")
    (root / "usr/lib/ssl").mkdir(parents=True)
    shutil.copy(openssl / "etc/ssl/openssl.cnf", root / "usr/lib/ssl/openssl.cnf")
    modules = LIBRARIES[0] / "ossl-modules"
    shutil.copytree(modules, root / str(modules)[1:])


def lay_out(build, work, kernel, busybox, openssl, regex):
    root = work / "root"
    shutil.rmtree(root, ignore_errors=True)
    for folder in ("bin", "dev", "etc", "lib", "modules", "proc", "programs", "root", "sys", "tmp", "var/run"):
        (root / folder).mkdir(parents=True)
    shutil.copy(busybox / "bin/busybox", root / "bin/busybox")
    modules(kernel, root)
    programs(build, root)
    conversions(root)
    tls(openssl, root)
    (root / "etc/passwd").write_text("root:x:0:0:root:/root:/bin/sh\nnobody:x:65534:65534:nobody:/:/bin/false\n")
    (root / "etc/group").write_text("root:x:0:\nnogroup:x:65534:\n")
    (root / "etc/hosts").write_text("127.0.0.1 localhost\n::1 localhost\n")
    (root / "regex").write_text(regex)
    (root / "init").write_text(INIT.replace("WORD", END_WORD))
    (root / "init").chmod(0o755)
    archive = work / "initramfs"
    names = subprocess.run(["find", "."], cwd=root, check=True, capture_output=True).stdout
    with archive.open("wb") as out:
        subprocess.run(["cpio", "-o", "-H", "newc", "--quiet", "-R", "0:0"], cwd=root, input=names, stdout=out, check=True)
    return archive


def boot(kernel, archive):
    """Shows the console; the number that the last line gives, or 1."""
    command = ["timeout", "-s", "KILL", str(SECONDS), "qemu-system-aarch64", "-M", "virt", "-cpu", "cortex-a53", "-smp", "2",
               "-m", "2048", "-nic", "none", "-nographic", "-no-reboot", "-kernel", kernel, "-initrd", archive,
               "-append", "console=ttyAMA0 panic=-1 psi=1 quiet"]
    result = 1
    with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT) as machine:
        for line in machine.stdout:
            text = line.decode(errors="replace").rstrip()
            print(text, flush=True)
            if text.startswith(END_WORD):
                result = int(text.removeprefix(END_WORD))
    return result


def main(build, work, regex=""):
    build, work = Path(build).resolve(), Path(work).resolve()
    work.mkdir(parents=True, exist_ok=True)
    kernel = fetch("linux-image-arm64:arm64", work)
    archive = lay_out(build, work, kernel, fetch("busybox-static:arm64", work), fetch("openssl:arm64", work), regex)
    print(f"booting with {archive.stat().st_size >> 20} MiB in memory", flush=True)
    sys.exit(boot(next((kernel / "boot").glob("vmlinuz-*")), archive))


main(*sys.argv[1:])
