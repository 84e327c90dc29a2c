"""Runs systemd as a user's, for tests that need root, who may give a user a control group."""

import contextlib
import os
import pathlib
import subprocess
import tempfile

from support import Command, mounted, run, wait_until

USER = 61234


class Manager:
    """The systemd of a user, whose home and runtime directories are in the folder."""

    def __init__(self, folder):
        self.home = folder / "user"
        self.runtime = folder / "runtime"
        self.as_user = [
            "setpriv", f"--reuid={USER}", f"--regid={USER}", "--clear-groups", "env", "-i",
            f"HOME={self.home}", f"XDG_RUNTIME_DIR={self.runtime}",
            "PATH=/usr/local/bin:/usr/bin:/bin", "SYSTEMD_COLORS=0"]

    def run(self, *arguments):
        return run(*self.as_user, *arguments)

    def systemctl(self, *arguments):
        return self.run("/bin/systemctl", "--user", *arguments)

    def make_folders(self, *others):
        """Makes the user, whose folders these are, and the others in the home directory."""
        with open("/etc/passwd", "a", encoding="utf-8") as passwd:
            passwd.write(f"user:x:{USER}:{USER}::{self.home}:/bin/sh\n")
        for folder in others:
            folder.mkdir(parents=True)
        self.runtime.mkdir(mode=0o700)
        self.own(self.home, self.runtime)

    def own(self, *folders):
        """Gives the folders, and all in them, to the user."""
        subprocess.run(["chown", "-R", f"{USER}:{USER}", *folders], check=True)

    @contextlib.contextmanager
    def running(self):
        # systemd runs as a user's where this folder says that the machine runs it, too.
        with mounted("-t", "tmpfs", "none", "/run"), \
                mounted("-t", "cgroup2", "none", "/sys/fs/cgroup"), control_group() as group:
            pathlib.Path("/run/systemd/system").mkdir(parents=True)
            with Command("sh", "-c", 'echo $$ >"$0/cgroup.procs" && exec "$@"', group,
                         *self.as_user, "/lib/systemd/systemd", "--user") as systemd:
                wait_until(lambda: self.systemctl("is-system-running").code == 0)
                yield
                assert systemd.code is None, systemd.output


@contextlib.contextmanager
def control_group():
    """A control group of the user's. It outlives its processes, so they are killed."""
    own = pathlib.Path("/proc/self/cgroup").read_text().split("0::/")[1].split("\n")[0]
    group = pathlib.Path(tempfile.mkdtemp(prefix="unit.", dir=f"/sys/fs/cgroup/{own}"))
    for path in [group, *group.iterdir()]:
        os.chown(path, USER, USER)
    try:
        yield group
    finally:
        (group / "cgroup.kill").write_text("1")
        wait_until(lambda: run("find", group, "-depth", "-type", "d", "-exec", "rmdir", "{}",
                               "+").code == 0)
