"""Tests the metrics of launchlog-report with the real Prometheus: its checks, its collector
of text files, and itself with the alerts. All listen on the loopback interface only."""

import contextlib
import json
import pathlib
import re
import shutil
import signal
import socket
import urllib.error
import urllib.parse
import urllib.request

import pytest

from support import ROOT, Command, item, run, steady_item, stop_launcher, wait_until, write_list

RULES = ROOT / "packaging/prometheus/launcher.rules.yml"
TESTS = ROOT / "tests/pytest/prometheus/rules_test.yml"
CONFIGURATION_OF_DEBIAN = pathlib.Path("/etc/prometheus/prometheus.yml")
SECTION = re.search("^### Watch it with Prometheus\n(.*?)^## ",
                    (ROOT / "docs/operating.md").read_text(), re.M | re.S)[1]
CONFIGURATION = """
global: {{ scrape_interval: 1s, evaluation_interval: 1s }}
rule_files: [{rules}]
scrape_configs:
  - job_name: node
    static_configs: [{{ targets: ["127.0.0.1:{port}"] }}]
"""


@pytest.fixture
def report(build):
    return build / "tools/launchlog_report/launchlog-report"


def line(name, number):
    return (f"2026-11-21T11:{number // 60:02}:{number % 60:02}.000Z ERROR 181 "
            f"[LAUNCHER  ] {name} {number + 300} is killed. ret = 7, status = 768\n")


def value_in(metrics, name, **labels):
    """Returns the value of a sample; None if it is not there."""
    quoted = ",".join(f'{label}="{value}"' for label, value in labels.items())
    start = f"{name}{{{quoted}}} " if quoted else f"{name} "
    found = [text[len(start):] for text in metrics.read_text().splitlines()
             if text.startswith(start)]
    return float(found[0]) if found else None


def test_the_rules_are_right_and_do_what_their_tests_say(tmp_path):
    for file in (RULES, TESTS):
        shutil.copy(file, tmp_path)
    run("promtool", "check", "rules", RULES).expect(0)
    run("promtool", "test", "rules", tmp_path / TESTS.name).expect(0)


def commands_of_manual(beginning):
    """Returns the commands of the manual's section that begin so."""
    return [text for text in re.findall(r"^\$ (.*)", SECTION, re.M) if text.startswith(beginning)]


def block_of_manual(kind):
    return re.search(rf"^```{kind}\n(.*?)^```", SECTION, re.M | re.S)[1]


def test_the_manual_names_the_folder_and_the_ports_of_the_packages():
    node = run("prometheus-node-exporter", "--help").output
    folder = re.search(r'textfile\.directory="(.*?)"', node)[1]
    assert SECTION.count(f"--metrics {folder}/launcher.prom --list ") == 2
    [install] = commands_of_manual("install")
    assert install == f"install -d -g alice -m 775 {folder}"
    assert re.search(r"listen-address=:9100 ", node)
    assert re.search(r'listen-address="0.0.0.0:9090" ', run("prometheus", "--help").output)
    assert "'localhost:9100'" in CONFIGURATION_OF_DEBIAN.read_text()


def test_the_configuration_of_the_manual_is_right(tmp_path):
    edited = tmp_path / "prometheus.yml"
    shutil.copy(CONFIGURATION_OF_DEBIAN, edited)
    for command in commands_of_manual("sed") + commands_of_manual("promtool"):
        command = command.replace(str(CONFIGURATION_OF_DEBIAN), str(edited))
        checked = run("bash", "-c", command.replace("/usr/share/tamlin", str(RULES.parent)))
        checked.expect(0)
    assert "SUCCESS: 1 rule files found" in checked.output
    written = tmp_path / "written.yml"
    written.write_text(block_of_manual("yaml").replace("/usr/share/tamlin", str(RULES.parent)))
    run("promtool", "check", "config", written).expect(0)


def test_the_unit_of_the_manual_writes_metrics(tmp_path, report, log):
    unit = tmp_path / "launcher-metrics.service"
    unit.write_text(block_of_manual("ini").replace("/usr/bin/launchlog-report", str(report)))
    run("systemd-analyze", "--user", "verify", unit,
        env={"XDG_RUNTIME_DIR": tmp_path}).expect(0).expect_no("launcher-metrics")
    start = re.search("^ExecStart=(.*)", unit.read_text(), re.M)[1]
    (tmp_path / "tamlin").mkdir()
    write_list(tmp_path / "tamlin/main.json", item("steady", "/bin/sleep", "1000"))
    start = start.replace("/var/lib/prometheus/node-exporter", str(tmp_path))
    metrics = tmp_path / "launcher.prom"
    with Command("bash", "-c", f"exec {start.replace('%E', str(tmp_path))}"):
        wait_until(metrics.exists)
        assert value_in(metrics, "launcher_item_restarts_total", item="steady") == 0


def test_promtool_finds_nothing_wrong_with_the_metrics(tmp_path, report):
    log, metrics = tmp_path / "launcher.log", tmp_path / "launcher.prom"
    names = ["plain", 'a"b', "back\\slash", "{x}", "caf\u00e9", "\udcff", ""]
    log.write_text("".join(line(name, number) for number, name in enumerate(names)),
                   errors="surrogateescape")
    run(report, "--metrics", metrics, log).expect(0)
    with metrics.open() as text:
        checked = run("promtool", "check", "metrics", stdin=text)
    assert (checked.code, checked.output) == (0, "")
    assert value_in(metrics, "launcher_item_ends_total", item="plain", cause="exit_code") == 1


def test_totals_never_fall_and_grow_by_what_is_new(tmp_path, report):
    log, metrics = tmp_path / "launcher.log", tmp_path / "launcher.prom"

    def total():
        run(report, "--metrics", metrics, log).expect(0)
        return value_in(metrics, "launcher_item_restarts_total", item="a")

    log.write_text("".join(line("a", number) for number in range(900)))
    assert total() == total() == 900
    log.rename(tmp_path / "launcher.log.1")
    log.write_text("".join(line("a", number) for number in range(900, 907)))
    assert total() == 907
    (tmp_path / "launcher.log.1").unlink()
    assert total() == 907
    log.unlink()
    log.write_text(line("a", 907))
    assert total() == 908


def test_a_launcher_that_runs_is_the_newest(tmp_path, build, report, log):
    launch_list = write_list(tmp_path / "list.json", steady_item(tmp_path / "pid"))
    metrics = tmp_path / "launcher.prom"

    def state(name, item="steady"):
        run(report, "--metrics", metrics, "--list", launch_list).expect(0)
        return value_in(metrics, f"launcher_item_{name}", item=item)

    log.parent.mkdir(parents=True)
    log.write_text("".join(
        f"2026-11-21T10:00:00.000Z ERROR 99999 [LAUNCHER  ] Failed to fork {item}\n"
        for item in ("steady", "no longer in the list")))
    assert state("given_up") == state("given_up", "no longer in the list") == 1
    # It has nothing to log while its program runs.
    with Command(build / "Tamlin.app/Contents/MacOS/launcher", "demo", launch_list):
        wait_until(lambda: state("running"))
        assert state("given_up") == state("given_up", "no longer in the list") == 0


def free_port():
    with socket.socket() as it:
        it.bind(("127.0.0.1", 0))
        return it.getsockname()[1]


def ask(port, path, **query):
    """Returns what Prometheus answers; None as long as it does not listen."""
    url = f"http://127.0.0.1:{port}/api/v1/{path}?{urllib.parse.urlencode(query)}"
    with contextlib.suppress(urllib.error.URLError, ConnectionError):
        with urllib.request.urlopen(url, timeout=10) as answer:
            return json.load(answer)["data"]
    return None


def value_of(port, query):
    """Returns the value of a query; None without one."""
    answer = ask(port, "query", query=query)
    return float(answer["result"][0]["value"][1]) if answer and answer["result"] else None


@pytest.fixture
def prometheus(tmp_path, home):
    """The port of a Prometheus that scrapes a node_exporter with this folder of texts."""
    texts = tmp_path / "texts"
    texts.mkdir()
    node, port = free_port(), free_port()
    configuration = tmp_path / "prometheus.yml"
    configuration.write_text(CONFIGURATION.format(rules=RULES, port=node))
    with Command("prometheus-node-exporter", "--collector.disable-defaults",
                 "--collector.textfile", f"--collector.textfile.directory={texts}",
                 f"--web.listen-address=127.0.0.1:{node}"), \
            Command("prometheus", f"--config.file={configuration}",
                    f"--storage.tsdb.path={tmp_path / 'data'}",
                    f"--web.listen-address=127.0.0.1:{port}"):
        yield port, texts


def test_prometheus_sees_a_real_launcher_and_its_end(prometheus, tmp_path, build, report, log):
    port, texts = prometheus
    launch_list = write_list(
        tmp_path / "list.json", steady_item(tmp_path / "pid"),
        item("ticker", "/bin/sh", "-c", "sleep 0.3; exit 3"))
    metrics = texts / "launcher.prom"
    with Command(build / "Tamlin.app/Contents/MacOS/launcher", "demo", launch_list) as launcher:
        wait_until(log.exists)
        with Command(report, "--follow", "--metrics", metrics, "--list", launch_list) as follower:
            ticks = 'launcher_item_ends_total{item="ticker",cause="exit_code"}'
            before = wait_until(lambda: value_of(port, ticks))
            wait_until(lambda: value_of(port, ticks) > before)
            assert value_of(port, "launcher_up") == 1
            assert value_of(port, 'launcher_item_running{item="steady"}') == 1
            assert value_of(port, 'launcher_item_restarts_total{item="steady"}') == 0
            assert value_of(port, "node_textfile_scrape_error") == 0
            assert stop_launcher(launcher) == 1
            wait_until(lambda: value_of(port, "launcher_up") == 0)
            wait_until(lambda: value_of(port, 'ALERTS{alertname="LauncherGone"}'))
            assert value_of(port, 'launcher_item_running{item="steady"}') == 0
            follower.send(signal.SIGTERM)
            follower.wait(20).expect(0)
            assert follower.output == ""
    ends = [it["cause"] for it in map(json.loads, run(report, "--ends", log).output.splitlines())
            if it["name"] == "ticker"]
    assert value_of(port, ticks) == ends.count("exit_code")
