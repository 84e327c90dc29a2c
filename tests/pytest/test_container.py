"""Runs the image of packaging/Containerfile and the pod of packaging/kubernetes with podman,
and the commands that docs/operating.md shows for both.

The image is built on a minimal Debian, which is made from this machine's package sources.
"""

import datetime
import json
import os
import pathlib
import re
import signal
import subprocess

import pytest
import yaml

import random_arguments
from random_arguments import is_text, new_source, random_texts
from test_docs import Shell, read_blocks, read_session

from support import (ROOT, expect_line, is_alive, item, mounted, ps, run, wait_until,
                     write_list)

LIST = "/etc/tamlin/launch-list.json"
LOG = "/home/launcher/Library/Logs/Tamlin/voplog/launcher.log"
MANIFESTS = ROOT / "packaging/kubernetes"
# What the pod's manifest names as the folder of node_exporter.
METRICS = pathlib.Path("/var/lib/prometheus/node-exporter")

STORAGE = '[storage]\ndriver = "overlay"\nrunroot = "{0}/run"\ngraphroot = "{0}/images"\n'
# Neither systemd nor a network of its own is needed.
CONTAINERS = """[containers]
netns = "host"
[engine]
cgroup_manager = "cgroupfs"
events_logger = "file"
"""
UNIFIED = "/sys/fs/cgroup/unified"

# A program of the shell that says goodbye on SIGTERM, a second later.
POLITE = "trap 'sleep 1; echo bye >/metrics/bye; exit' TERM; while :; do sleep 0.1; done"
# A part of the ticker of the pod: it first leaves a process behind, and notes its starts.
NOTES = "[ -e /tmp/starts ] || (sleep 997 &); date +%s%3N >>/tmp/starts; "


def podman(*arguments, **options):
    return run("podman", "--log-level", "fatal", *arguments, **options)


def remove_pods():
    """Removes all pods. podman may fail to remove a container that is just ending."""
    wait_until(lambda: podman("pod", "rm", "--all", "--force").code == 0)


@pytest.fixture(scope="module", autouse=True)
def configuration(contained, tmp_path_factory):
    """Lets podman keep all that it has in a folder of its own."""
    folder = tmp_path_factory.mktemp("podman")
    (folder / "storage.conf").write_text(STORAGE.format(folder))
    (folder / "containers.conf").write_text(CONTAINERS)
    # Where both versions of control groups are mounted, podman takes the old one for all.
    if os.path.ismount(UNIFIED):
        subprocess.run(["umount", UNIFIED], check=True)
    with pytest.MonkeyPatch.context() as patch:
        patch.setenv("CONTAINERS_STORAGE_CONF", str(folder / "storage.conf"))
        patch.setenv("CONTAINERS_CONF", str(folder / "containers.conf"))
        yield
        podman("kill", "--all")
        podman("rm", "--all", "--force")
        podman("unmount", "--all")


@pytest.fixture(scope="module")
def base(configuration, tmp_path_factory):
    """The image that packaging/Containerfile begins with: a minimal Debian."""
    archive = tmp_path_factory.mktemp("base") / "base.tar"
    run(ROOT / "scripts/fresh-machine", "--archive", archive).expect(0)
    podman("import", archive, "docker.io/library/debian:bookworm-slim").expect(0)
    archive.unlink()


@pytest.fixture(scope="module")
def image(base, packages):
    podman("build", "--format", "docker", "-t", "tamlin-launcher",
           "-f", ROOT / "packaging/Containerfile", packages).expect(0)


@pytest.fixture
def start(image, tmp_path):
    """Returns a function that starts a container on a list of the items, and its name."""
    def start(*items, arguments=()):
        tmp_path.chmod(0o755)
        write_list(tmp_path / "launch-list.json", *items)
        podman("run", "-d", "--name", "one", "--pids-limit", 60, "-v", f"{tmp_path}:/etc/tamlin:ro",
               "-v", "metrics:/metrics", "tamlin-launcher", *arguments).expect(0)
        return "one"
    yield start
    podman("rm", "--force", "one")
    podman("volume", "rm", "metrics")


def status_in(container):
    """Returns what launcher-status says in the container; of no launcher, None."""
    command = podman("exec", container, "launcher-status", "--json", LIST)
    return json.loads(command.output)["launchers"][0] if command.code in (0, 1) else None


def items_in(container):
    status = status_in(container)
    return {item["name"]: item for item in status["items"]} if status else {}


def read(container, file):
    """Returns the text of a file in the container, which is empty if there is no such file."""
    command = podman("exec", container, "cat", file)
    return command.output if command.code == 0 else ""


def polite_item():
    return item("polite", "/usr/bin/launch-with", "--grace", "20", "--", "/bin/sh", "-c", POLITE)


def test_a_stop_of_the_container_gives_programs_their_grace_and_leaves_nothing(start):
    name = start(polite_item())
    wait_until(lambda: items_in(name).get("polite", {}).get("state") == "running")
    podman("stop", "--time", 60, name).expect(0)
    assert podman("inspect", "--format", "{{.State.ExitCode}}", name).output == "0\n"
    podman("logs", name).expect(0, r"launcher \d+ \(container\) ended after SIGTERM",
                                "nothing is left")
    podman("run", "--rm", "-v", "metrics:/metrics", "--entrypoint", "cat", "tamlin-launcher",
           "/metrics/bye").expect(0, "bye")


def test_the_container_ends_with_the_error_of_the_list(start):
    name = start({"name": "agent"})
    assert podman("wait", name).output == "2\n"


def read_manifest():
    """Returns the list and the pod."""
    return yaml.safe_load_all((MANIFESTS / "pod.yaml").read_text())


def container_of_the_pod():
    """Returns what the manifest says of the container of the launcher."""
    [_, manifest] = read_manifest()
    return manifest["spec"]["containers"][0]


def health_check():
    return container_of_the_pod()["livenessProbe"]["exec"]["command"]


@pytest.mark.parametrize("launchers, code", [
    ('[{"items":[{"state":"running"},{"state":"waiting"}]}]', 0),
    ('[{"items":[{"state":"running"},{"state":"chain"}]}]', 1),
    ('[{"items":[{"state":"given_up"},{"state":"running"}]}]', 1),
    ('[]', 1)])
def test_the_pod_lives_as_long_as_a_new_launcher_would_not_help(launchers, code, tmp_path):
    status = tmp_path / "launcher-status"
    status.write_text(f"""#!/bin/sh
[ "$*" = "--json {LIST}" ] && echo '{{"launchers":{launchers},"left_behind":[]}}'
""")
    status.chmod(0o755)
    run(*health_check(), env={"PATH": f"{tmp_path}:/usr/bin:/bin"}).expect(code)


def test_the_pod_does_not_live_without_an_answer():
    run(*health_check(), env={"PATH": "/usr/bin:/bin"}).expect(1)


def test_the_pod_does_not_live_without_a_launcher(image):
    [command, *arguments] = health_check()
    podman("run", "--rm", "--entrypoint", command, "tamlin-launcher", *arguments).expect(1)


def test_the_pod_lives_although_a_program_ends_again_and_again(start):
    live = health_check()
    name = start(item("steady", "/bin/sleep", "1000"), item("failing", "/bin/false"))
    wait_until(lambda: podman("healthcheck", "run", name).code == 1)
    assert {podman("exec", name, *live).code for _ in range(10)} == {0}


def test_the_health_check_tells_a_chain_which_a_stop_then_ends(start):
    live = health_check()
    podman("run", "--rm", "-v", "metrics:/metrics", "--entrypoint", "cp", "tamlin-launcher",
           "/bin/sleep", "/metrics/agent").expect(0)
    name = start(item("steady", "/bin/sleep", "1000"), item("agent", "/metrics/agent", "1000"))
    wait_until(lambda: podman("healthcheck", "run", name).code == 0)
    podman("exec", name, *live).expect(0)
    agent = items_in(name)["agent"]["pid"]
    podman("exec", name, "rm", "/metrics/agent").expect(0)
    podman("exec", name, "sh", "-c", f"kill -KILL {agent}").expect(0)
    wait_until(lambda: items_in(name)["agent"]["state"] == "chain")
    assert podman("healthcheck", "run", name).code == 1
    assert podman("exec", name, *live).code == 1
    podman("stop", "--time", 60, name).expect(0)
    podman("logs", name).expect(0, "nothing is left")
    assert podman("inspect", "--format", "{{.State.ExitCode}}", name).output == "0\n"


@pytest.fixture
def metrics():
    """The folder that the manifest names for metrics, writable by the user of the image."""
    METRICS.mkdir(parents=True, exist_ok=True)
    with mounted("-t", "tmpfs", "-o", "uid=1000", "none", METRICS):
        yield METRICS / "launcher.prom"


@pytest.fixture
def pod(image, metrics, tmp_path):
    """The pod of the manifest, which runs, with one more program, which says goodbye.

    The size of the log is looked at every second.
    """
    config, manifest = read_manifest()
    launch_list = json.loads(config["data"]["launch-list.json"])
    launch_list["1"]["args"]["1"] = NOTES + launch_list["1"]["args"]["1"]
    config["data"]["launch-list.json"] = json.dumps({**launch_list, "2": polite_item()})
    [launcher, _, rotation] = manifest["spec"]["containers"]
    launcher["volumeMounts"].append({"name": "metrics", "mountPath": "/metrics"})
    rotation["command"] = [word.replace("sleep 60", "sleep 1") for word in rotation["command"]]
    file = tmp_path / "pod.yaml"
    file.write_text(yaml.safe_dump_all([config, manifest]))
    podman("kube", "play", file).expect(0)
    yield "launcher-launcher"
    podman("kube", "down", file)
    remove_pods()


def processes():
    return [name for name in ps("-eo", "comm=") if re.match("tini|launch|sleep", name)]


def programs():
    """Returns the programs of the list that run, and what the ticker has left."""
    found = [re.search("sleep 997|sleep 86400|echo bye", line) for line in ps("-eo", "args=")]
    return {match[0] for match in found if match}


def test_the_pod_runs_the_list_with_metrics_beside_it_and_leaves_nothing(pod, metrics):
    wait_until(lambda: metrics.exists() and "launcher_up 1\n" in metrics.read_text())
    wait_until(lambda: re.search(r'restarts_total\{item="ticker"\} [1-9]', metrics.read_text()))
    assert 'launcher_item_running{item="steady"} 1\n' in metrics.read_text()
    assert podman("healthcheck", "run", pod).code == 0
    assert processes() != []
    podman("kube", "down", MANIFESTS / "pod.yaml").expect(0)
    assert processes() == []


def test_a_stop_of_the_launcher_in_the_pod_gives_grace_and_leaves_nothing(pod, metrics):
    wait_until(lambda: len(programs()) == 3 and items_in(pod)["polite"]["state"] == "running")
    podman("stop", "--time", 60, pod).expect(0)
    assert programs() == set()
    podman("logs", pod).expect(0, "nothing is left")
    assert (metrics.parent / "bye").read_text() == "bye\n"


def milliseconds(time):
    return round(datetime.datetime.fromisoformat(time.replace("Z", "+00:00")).timestamp() * 1000)


def test_a_program_killed_in_the_pod_comes_back_after_50_ms(pod):
    ticker = wait_until(lambda: items_in(pod).get("ticker", {}).get("pid"))
    podman("exec", pod, "sh", "-c", f"kill -KILL {ticker}").expect(0)
    starts = wait_until(lambda: len(read(pod, "/tmp/starts").split()) >= 4 and
                        read(pod, "/tmp/starts").split())
    log = read(pod, LOG)
    ends = re.findall(r"^(\S+) .* ticker (\d+) is killed\. .* status = (\d+)$", log, re.M)
    assert (str(ticker), "9") in [end[1:] for end in ends]
    pauses = [int(start) - milliseconds(end[0]) for start, end in zip(starts[1:], ends)]
    assert min(pauses) >= 50
    # A busy machine makes some pauses longer, but not all of them.
    assert min(pauses) < 1000


def test_a_pod_with_a_large_log_lives_and_the_log_is_rotated(pod):
    wait_until(lambda: "ticker" in read(pod, LOG))
    podman("exec", pod, "sh", "-c", f"""
        line=$(head -n 1 {LOG})
        yes "$line" | head -c 100M >>{LOG}; echo >>{LOG}""").expect(0)
    seconds = container_of_the_pod()["livenessProbe"]["timeoutSeconds"]
    podman("exec", pod, "timeout", seconds, *health_check()).expect(0)
    wait_until(lambda: podman("exec", pod, "test", "-s", f"{LOG}.1", "-a", "-s", LOG).code == 0)
    podman("exec", pod, *health_check()).expect(0)


def test_the_init_of_the_container_reaps_what_a_program_leaves(pod):
    def find_orphan():
        return [line.split() for line in ps("-eo", "pid=,ppid=,args=")
                if re.fullmatch(r"\d+ +\d+ sleep 997", line)]

    def command_of_parent():
        [[_, parent, *_]] = find_orphan()
        return ps("-o", "comm=", "-p", parent)

    wait_until(find_orphan)
    wait_until(lambda: command_of_parent() == ["tini"])
    [[pid, *_]] = find_orphan()
    os.kill(int(pid), signal.SIGKILL)
    wait_until(lambda: not is_alive(pid))


def test_the_pods_own_stop_leaves_nothing(pod):
    stop = container_of_the_pod()["lifecycle"]["preStop"]["exec"]["command"]
    wait_until(lambda: items_in(pod).get("steady"))
    # podman itself may forget the exit code when the container ends too.
    command = podman("exec", pod, "sh", "-c", '"$@"; echo "exit code $?"', "sh", *stop)
    for line in (r"launcher \d+ \(container\) ended after SIGTERM", "nothing is left",
                 "exit code 0"):
        expect_line(line, command.output)


@pytest.fixture
def play_export(build, image, tmp_path):
    """Returns a function that runs a list with what launchlist-export writes for a pod."""
    manifest = tmp_path / "exported.yaml"

    def play(file):
        tool = build / "tools/launchlist_export/launchlist-export"
        exported = run(tool, "kube", "--image", "localhost/tamlin-launcher", file).expect(0)
        manifest.write_text(exported.output)
        podman("kube", "play", manifest).expect(0)
    yield play
    podman("kube", "down", manifest)
    remove_pods()


def podman_takes(text):
    """Returns whether podman 4.3 passes the text on: it does not replace "$$" by "$", and
    cannot read the lines that it writes itself for a text that begins with two newlines."""
    has_escaped_dollar = re.search(rb"\$[$(\x80-\xff]", text)
    return is_text(text) and not has_escaped_dollar and not text.startswith(b"\n\n")


def test_programs_of_an_exported_list_get_the_same_arguments(play_export, tmp_path):
    source = new_source()
    echo = [b"/bin/sh", b"-c", b'printf "%s\\0" "$@" >/tmp/new; mv /tmp/new /tmp/all; sleep 1000',
            b"sh"]
    arguments = [random_texts(source, 15, podman_takes) for _ in range(5)]
    play_export(random_arguments.write_list(tmp_path / "list.json", [
        (b"item%d" % number, echo + texts) for number, texts in enumerate(arguments)]))
    for number, texts in enumerate(arguments):
        cat = ["podman", "exec", f"launchlist-item{number}", "cat", "/tmp/all"]
        written = wait_until(lambda cat=cat: subprocess.run(
            cat, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False).stdout)
        assert written.split(b"\0")[:-1] == texts


def test_launch_with_gives_no_grace_in_a_container_of_its_own(play_export, tmp_path):
    slow = "touch /tmp/on; trap 'sleep 1; touch /tmp/bye; exit' TERM; while :; do sleep 0.1; done"
    play_export(write_list(tmp_path / "list.json", item(
        "slow", "/usr/bin/launch-with", "--grace", "20", "--", "/bin/sh", "-c", slow)))
    wait_until(lambda: podman("exec", "launchlist-slow", "test", "-e", "/tmp/on").code == 0)
    podman("stop", "--time", 60, "launchlist-slow").expect(0)
    podman("cp", "launchlist-slow:/tmp/on", tmp_path).expect(0)
    assert podman("cp", "launchlist-slow:/tmp/bye", tmp_path).code != 0


def test_both_manifests_have_the_same_list_and_the_same_pod():
    pods = list(yaml.safe_load_all((MANIFESTS / "pod.yaml").read_text()))
    sets = list(yaml.safe_load_all((MANIFESTS / "daemonset.yaml").read_text()))
    assert [part["kind"] for part in pods] == ["ConfigMap", "Pod"]
    assert [part["kind"] for part in sets] == ["ConfigMap", "DaemonSet"]
    assert pods[0] == sets[0]
    spec, template = sets[1]["spec"], sets[1]["spec"]["template"]
    assert template["spec"] == pods[1]["spec"]
    assert template["metadata"]["labels"] == spec["selector"]["matchLabels"]


def test_the_commands_of_the_documentation_do_what_is_shown(
        image, metrics, home, packages, unpacked):
    (home / "tamlin").symlink_to(unpacked)
    shell = Shell(home, os.environ["PATH"])
    blocks = [block for block in read_blocks(ROOT / "docs/operating.md")
              if block.lines[0].startswith("(with podman")]
    assert len(blocks) == 2
    try:
        shell.run(f"cd {packages}")
        for block in blocks:
            del block.lines[0]
            for place, command, shown in read_session(block):
                shell.expect(place, command, shown)
    finally:
        shell.close()
