"""Asks shells how they complete a command line, with the files in packaging/completions.

Each function works in the current folder.
"""

import os
import pty
import select
import shlex
import signal
import subprocess
import tempfile
import time

from support import ROOT

COMPLETIONS = ROOT / "packaging/completions"


def sorted_lines(text):
    return sorted(set(text.splitlines()) - {""})


def complete_in_bash(*words):
    """Returns how bash completes the last of the words of a command line."""
    script = r'''
        source "$1"
        shift
        COMP_WORDS=("$@")
        COMP_CWORD=$(($# - 1))
        rule=$(complete -p "$1")
        [[ $rule == *" -o filenames "* ]] || echo "completions are not quoted as file names"
        function=${rule##*-F }
        "${function%% *}" "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
        printf "%s\n" "${COMPREPLY[@]}"
    '''
    shell = ["bash", "--norc", "--noprofile", "-c", script, "bash"]
    return sorted_lines(subprocess.check_output(
        [*shell, COMPLETIONS / f"{words[0]}.bash", *words], text=True, timeout=60))


def complete_in_fish(line):
    """Returns how fish completes the last word of a command line."""
    with tempfile.TemporaryDirectory() as folder:
        # fish completes only commands that exist.
        os.symlink("/bin/true", f"{folder}/{line.split()[0]}")
        script = "set -p fish_complete_path $argv[1]; complete -C $argv[2]"
        output = subprocess.check_output(
            ["fish", "-c", script, COMPLETIONS, line], text=True, timeout=60,
            env={**os.environ, "HOME": folder, "PATH": f"{folder}:{os.environ['PATH']}"})
    return sorted_lines("\n".join(line.split("\t")[0] for line in output.splitlines()))


def shown_by_zsh(line, text):
    """Types a command line and a tab into an interactive zsh.

    Returns what that shows, up to the text if that comes within a minute.
    """
    process, terminal = pty.fork()
    if process == 0:
        os.execlp("zsh", "zsh", "-f", "-i")
    # The word is cut in two, so that its echo is not taken for the answer.
    set_up = (f"PS1=; fpath=({shlex.quote(str(COMPLETIONS))} $fpath); "
              "autoload -U compinit; compinit -u -D; echo rea''dy\n")
    try:
        os.write(terminal, set_up.encode())
        read_until(terminal, "ready")
        os.write(terminal, f"{line}\t".encode())
        return read_until(terminal, text)
    finally:
        os.kill(process, signal.SIGKILL)
        os.waitpid(process, 0)
        os.close(terminal)


def read_until(terminal, text):
    """Returns what the terminal shows, up to the text if that comes within a minute."""
    shown = ""
    deadline = time.monotonic() + 60
    while text not in shown:
        remaining = max(deadline - time.monotonic(), 0)
        if not select.select([terminal], [], [], remaining)[0]:
            break
        shown += os.read(terminal, 4096).decode()
    return shown
