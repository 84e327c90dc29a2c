"""Tests that the packages hold what they should, and that the .deb installs, runs and is
removed without leaving anything behind.

--packages names the folder of the .tar.gz and the .deb. The .deb is installed into a root
directory of its own, which has only the packages that it depends on, and the shell and the
tools that every Debian system has.
"""

import glob
import gzip
import hashlib
import os
import pathlib
import re
import shutil
import subprocess

import pytest

from support import (ROOT, Command, expect_line, log_in, read_pid, run, steady_item,
                     stop_launcher, write_list)

pytestmark = pytest.mark.usefixtures("contained")
DPKG = pathlib.Path("/var/lib/dpkg")


@pytest.fixture(scope="module")
def deb(packages):
    [file] = packages.glob("*.deb")
    return file


def output_of(*command, **options):
    return subprocess.check_output(command, text=True, **options)


def field(deb, name):
    return output_of("dpkg-deb", "--field", deb, name).strip()


@pytest.fixture(scope="module")
def package(deb):
    return field(deb, "Package")


def installed_sources():
    """Returns the files that are installed as they are in the sources."""
    folders = [ROOT / name for name in (
        "packaging/man", "packaging/completions", "packaging/systemd", "docs", "examples")]
    files = [file for folder in folders for file in folder.rglob("*") if file.is_file()]
    for pattern in ("copyright", "tamlin-launcher", "*.json", "logrotate-*", "newsyslog-*"):
        files += ROOT.glob(f"packaging/{pattern}")
    return files


def sha256(file):
    return hashlib.sha256(file.read_bytes()).digest()


def test_the_archive_unpacks_into_one_folder_of_its_name(packages, unpacked):
    assert [file.name for file in packages.glob("*.tar.gz")] == [f"{unpacked.name}.tar.gz"]


def test_everything_for_users_is_in_the_archive(unpacked):
    sums = {sha256(file) for file in unpacked.rglob("*") if file.is_file()}
    assert [file for file in installed_sources() if sha256(file) not in sums] == []


def place_on_debian(path):
    """Returns the place of a file of the archive on a Debian system."""
    path = re.sub("^Tamlin.app/", "lib/tamlin/Tamlin.app/", path)
    path = re.sub("^share/zsh/site-functions/", "share/zsh/vendor-completions/", path)
    return f"./usr/{path}.gz" if path.startswith("share/man/") else f"./usr/{path}"


def test_the_package_has_what_the_archive_has_in_the_places_of_a_debian_system(
        deb, package, unpacked):
    expected = {place_on_debian(str(file.relative_to(unpacked)))
                for file in unpacked.rglob("*") if not file.is_dir()}
    expected |= {f"./usr/share/doc/{package}/changelog.gz",
                 f"./usr/share/lintian/overrides/{package}"}
    listing = [line.split() for line in output_of("dpkg-deb", "--contents", deb).splitlines()]
    files = [fields for fields in listing if not fields[0].startswith("d")]
    packed = {fields[5] for fields in files}
    assert sorted(expected - packed) == []
    assert sorted(packed - expected) == []
    assert {fields[1] for fields in files} == {"root/root"}


def test_the_changelog_is_about_the_packed_version(deb, package, tmp_path):
    subprocess.run(["dpkg-deb", "--extract", deb, tmp_path], check=True)
    changelog = gzip.decompress(
        (tmp_path / f"usr/share/doc/{package}/changelog.gz").read_bytes()).decode()
    expect_line(rf"{package} \({re.escape(field(deb, 'Version'))}\) .*", changelog)


def test_lintian_has_nothing_to_say(deb):
    assert run("lintian", "--allow-root", "--pedantic", deb).expect(0).output == ""


def is_installed_here(name):
    query = run("dpkg-query", "-W", "-f", "${db:Status-Status}", name)
    return (query.code, query.output) == (0, "installed")


def packages_of(relations):
    """Returns the packages that a Depends field names.

    Of alternatives it is the first that is installed on this machine; if none is, the last.
    """
    relations = re.sub(r"\([^)]*\)|:any", "", relations)
    alternatives = [[name.strip() for name in relation.split("|")]
                    for relation in relations.split(",") if relation.strip()]
    return [next(filter(is_installed_here, names), names[-1]) for names in alternatives]


def with_dependencies(names):
    """Returns the packages of those names, and all that they depend on."""
    found, names = [], list(names)
    while names:
        name = names.pop()
        if name not in found:
            assert is_installed_here(name), f"{name} is not installed on this machine"
            found.append(name)
            names += packages_of(output_of(
                "dpkg-query", "-W", "-f", "${Pre-Depends}, ${Depends}\n", name))
    return found


def copy_package(name, root):
    """Installs a package of this machine: its files, and dpkg's record of it.

    Documentation and translations are left out.
    """
    lists = glob.glob(f"{DPKG}/info/{name}.list") + glob.glob(f"{DPKG}/info/{name}:*.list")
    files = [file for list in lists for file in pathlib.Path(list).read_text().splitlines()
             if not file.startswith("/usr/share/") and not os.path.isdir(file)]
    packed = subprocess.run(["tar", "-C", "/", "--owner=0", "--group=0", "-cf", "-", "-T", "-"],
                            input="".join(f"{file[1:]}\n" for file in files).encode(),
                            stdout=subprocess.PIPE, check=True)
    subprocess.run(["tar", "-C", root, "-xf", "-", "--keep-directory-symlink"],
                   input=packed.stdout, check=True)
    for file in lists:
        shutil.copy(file, root / "var/lib/dpkg/info")
    with open(root / "var/lib/dpkg/status", "a") as status:
        status.write(output_of("dpkg-query", "-s", name) + "\n")


class System:
    """A root directory with a user, and what the package depends on."""

    def __init__(self, root, log):
        self.root, self.log = root, log
        self.home = root / "home/user"
        for name in ("var/lib/dpkg/info", "var/lib/dpkg/updates", "var/lib/dpkg/triggers",
                     "etc", "proc", "tmp", "home/user"):
            (root / name).mkdir(parents=True)
        for name in ("bin", "sbin", "lib", "lib64"):
            (root / "usr" / name).mkdir(parents=True)
            if os.path.islink(f"/{name}"):
                (root / name).symlink_to(f"usr/{name}")
            else:
                (root / name).mkdir()
        user, self._chroot = 1000, ["chroot", "--userspec=1000:1000"]
        if run(*self._chroot, "/", "true").code != 0:
            # A user namespace may have no other user than root.
            user, self._chroot = 0, ["chroot"]
        (root / "etc/passwd").write_text(f"user:x:{user}:{user}::/home/user:/bin/sh\n")
        os.chown(self.home, user, user)
        # The program loader finds the folder of a program by it.
        subprocess.run(["mount", "--rbind", "/proc", root / "proc"], check=True)

    def as_user(self, *command):
        """Returns a command that runs the command here, as the user."""
        return [*self._chroot, self.root, *command]

    def dpkg(self, *arguments):
        # The machine's own configuration of dpkg may leave files out, and names its own log.
        return run("dpkg", f"--root={self.root}", f"--log={self.log}", "--path-include=*",
                   *arguments, env={"PATH": f"{os.environ['PATH']}:/usr/sbin:/sbin"})

    def contents(self):
        """Returns what is here, except dpkg's records, processes and what users have."""
        listing = output_of(
            "find", ".", "(", "-path", "./var/lib/dpkg", "-o", "-path", "./proc", "-o",
            "-path", "./home", ")", "-prune", "-o", "-printf", r"%p %y %m %U:%G %l\n",
            cwd=self.root)
        return set(listing.splitlines())


@pytest.fixture(scope="module")
def bare_system(deb, tmp_path_factory):
    """A system on which all is installed that the package depends on."""
    folder = tmp_path_factory.mktemp("system")
    os.umask(0o022)
    system = System(folder / "root", folder / "dpkg.log")
    for name in with_dependencies(["dash", "coreutils", *packages_of(field(deb, "Depends"))]):
        copy_package(name, system.root)
    run(*system.as_user("/bin/sh", "-c", "exec sleep 0")).expect(0)
    system.before = system.contents()
    return system


@pytest.fixture(scope="module")
def system(bare_system, deb):
    """The same system with the package."""
    bare_system.dpkg("--install", deb).expect(0)
    return bare_system


def test_the_package_installs_without_complaints(system, package):
    for check in ("--verify", "--audit"):
        command = system.dpkg(check, package)
        assert (command.code, command.output) == (0, "")


def test_no_installed_link_leads_nowhere(system, package):
    files = system.dpkg("--listfiles", package).expect(0).output.splitlines()
    paths = [pathlib.Path(f"{system.root}{file}") for file in files]
    assert len(paths) > 1
    assert [path for path in paths if path.is_symlink() and not path.exists()] == []


def test_the_installed_launcher_runs_a_list_and_ends_with_exit_code_1(system):
    write_list(system.home / "list.json", steady_item("/home/user/running"))
    with Command(*system.as_user("tamlin-launcher", "test", "/home/user/list.json")) as command:
        program = read_pid(system.home / "running")
        expect_line(r".* /.*/usr/lib/tamlin/Tamlin\.app/Contents/Frameworks/liblogger\.so\.1",
                    pathlib.Path(f"/proc/{command.pid}/maps").read_text())
        assert stop_launcher(command) == 1
    expect_line(rf".*\[LAUNCHER  \] steady {program} is killed\. ret = {program}, status = 9",
                log_in(system.home).read_text())


def test_every_installed_tool_runs_and_says_how_to_use_it(system):
    tools = [*system.root.glob("usr/bin/launch*"), *system.root.glob("usr/bin/tamlin-*")]
    assert tools
    for tool in tools:
        run(*system.as_user(f"/usr/bin/{tool.name}", "--help")).expect(0, f".*{tool.name} .*")


def test_the_installed_wrapper_refuses_a_list_with_errors(system):
    run(*system.as_user("tamlin-launcher", "test", "/home/user/none.json")).expect(
        2, r"/home/user/none\.json:.*\[unreadable\]", "tamlin-launcher: not started, see above; .*")


def test_the_package_goes_without_leaving_anything_but_the_users_log(system, package):
    log = log_in(system.home)
    log.parent.mkdir(parents=True, exist_ok=True)
    log.touch()
    system.dpkg("--purge", package).expect(0)
    assert sorted(system.contents() ^ system.before) == []
    assert list((system.root / "var/lib/dpkg").rglob(f"{package}*")) == []
    assert log.exists()
