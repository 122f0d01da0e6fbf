"""run_samples.py DOCUMENT: every code block of a document does what it says.

CONTRIBUTING.md says which blocks run how, and how to mark the others. Wants to
run in a world of its own (tests/support/in_own_world.sh), with MV_INSTALLED
naming a directory that the build was installed into, and MV_BUILD_DIR.
"""

import contextlib
import io
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import traceback
from pathlib import Path

from document import Malformed, local_links, read_blocks

TREE = Path(__file__).resolve().parents[2]
WRAPPERS = Path(__file__).parent / "wrappers"
WARNINGS = ["-Wall", "-Wextra", "-Werror"]
COMPILERS = {"c": ["CC", "cc", "-std=c11"], "cpp": ["CXX", "c++", "-std=c++17"]}
SUFFIXES = {"c": ".c", "cpp": ".cpp"}
LONGEST_S = 120


class Failed(Exception):
    """A block did not do what the document says."""


def expect_output(shown, printed):
    """A line "..." stands for any lines."""
    pattern = "".join(
        "(.*\n)*" if line.strip() == "..." else re.escape(line) + "\n"
        for line in shown.splitlines()
    )
    if not re.fullmatch(pattern, printed):
        raise Failed(f"the document shows\n{shown}but it printed\n{printed}")


def commands_of(console):
    """[command, shown output] of each prompt of a block."""
    found = []
    for line in console.splitlines(keepends=True):
        if line.startswith("$ "):
            found.append([line[2:], ""])
        elif not found:
            raise Failed('a console block begins with "$ "')
        elif found[-1][0].endswith("\\\n"):
            found[-1][0] += line.removeprefix("> ")
        else:
            found[-1][1] += line
    return found


class Surroundings:
    """A copy of the tree to work in, an installed driver, and a reader on
    /dev/ttyUSB0 and /dev/COM3 with finger 1 on its sensor."""

    def __init__(self):
        self.directory = Path(tempfile.mkdtemp())
        self._copy_tree()
        self._use_installed()
        self._start_reader()
        os.chdir(self.directory)

    def _copy_tree(self):
        leave_out = shutil.ignore_patterns("build", ".git", "corpus", "*.pyc")
        shutil.copytree(TREE, self.directory, symlinks=True, ignore=leave_out,
                        dirs_exist_ok=True)
        (self.directory / "build").mkdir()
        # Under the name that the documents know, whatever the preset.
        (self.directory / "build/release").symlink_to(os.environ["MV_BUILD_DIR"])

    def _use_installed(self):
        root = Path(os.environ["MV_INSTALLED"])
        [header] = root.rglob("include/mv_fpi.h")
        [driver] = root.rglob("libmv_fpi.so.1")
        [package] = root.rglob("pkgconfig/mv_fpi.pc")
        prefix = header.parents[1]
        self.flags = [f"-I{header.parent}", f"-I{TREE}/apps",
                      f"-L{driver.parent}"]
        os.environ.update(
            PATH=":".join([f"{prefix}/bin", str(Path(sys.executable).parent),
                           os.environ["PATH"]]),
            LD_LIBRARY_PATH=str(driver.parent),
            PKG_CONFIG_PATH=str(package.parent),
            PKG_CONFIG_SYSROOT_DIR=str(root),
            CMAKE_PREFIX_PATH=str(prefix),
            MV_FPI_LIBRARY=str(driver),
            HOME=str(self.directory),
            PIP_NO_INDEX="1",
        )
        os.environ.pop("TMPDIR", None)

    def _start_reader(self):
        self._reader = subprocess.Popen(
            ["mvfp-vreader", "--baud", "0", "--auto-press", "1",
             "--link", "/dev/ttyUSB0"],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True)
        port = self._reader.stdout.readline().strip()
        os.symlink(port, "/dev/COM3")


def run(command, **options):
    """Its output. Not through a pipe, which a process that the command leaves
    behind would keep open."""
    with tempfile.TemporaryFile("w+", encoding="utf-8") as output:
        try:
            done = subprocess.run(command, stdin=subprocess.DEVNULL,
                                  stdout=output, timeout=LONGEST_S, **options)
        except subprocess.TimeoutExpired as error:
            raise Failed(f"did not end within {LONGEST_S} s") from error
        output.seek(0)
        printed = output.read()
    if done.returncode != 0:
        raise Failed(f"exit status {done.returncode}\n{printed}")
    return printed


class Runner:
    """Runs the blocks of one document in their order."""

    def __init__(self, surroundings):
        self._surroundings = surroundings
        self._names = {}  # of all Python blocks together

    def run(self, block):
        if block.marks.get("file"):
            Path(block.marks["file"]).write_text(block.text, encoding="utf-8")
        if "not run" in block.marks:
            return self._check_unrun(block)
        condition = block.marks.get("run if")
        if condition and subprocess.run(["sh", "-c", condition],
                                        stderr=subprocess.DEVNULL).returncode:
            return f"skipped, for this fails: {condition}"
        languages = {
            "c": self._run_program, "cpp": self._run_program,
            "cmake": self._need_file, "console": self._run_console,
            "json": self._read_json, "mermaid": self._take,
            "python": self._run_python, "script": self._run_script,
            "sh": self._run_shell, "text": self._take_text,
        }
        if block.language not in languages:
            raise Failed(f"no way to run a block of '{block.language}': name "
                         "its language, or mark it <!-- not run: REASON -->")
        printed = languages[block.language](block)
        if block.shown is not None and "output varies" not in block.marks:
            expect_output(block.shown, printed or "")
        return "ok"

    def _check_unrun(self, block):
        if not block.marks["not run"]:
            raise Failed("give the reason: <!-- not run: REASON -->")
        if block.language == "sh":
            run(["bash", "-n", "-c", block.text])
        for path in re.findall(r"\b(?:scripts|packaging)/[\w./-]+", block.text):
            if not Path(path).exists():
                raise Failed(f"there is no {path}")
        return f"not run: {block.marks['not run']}"

    def _run_program(self, block):
        source = block.text
        if "wrap" in block.marks:
            source = self._wrap(block)
        name = "sample" + SUFFIXES[block.language]
        Path(name).write_text(source, encoding="utf-8")
        variable, default, standard = COMPILERS[block.language]
        command = [os.environ.get(variable, default), standard, *WARNINGS,
                   name, *self._surroundings.flags]
        is_run_later = "file" in block.marks
        if is_run_later or not re.search(r"\bmain\(", source):
            run([*command, "-c", "-o", "sample.o"])
            return None
        library = "-lmv_fpi"
        if "<cx_capdlg_lib.h>" in source:
            library = "-lcx_capdlg_lib"
        run([*command, library, "-ldl", "-pthread", "-o", "sample"])
        return run(["./sample"])

    def _wrap(self, block):
        name = block.marks["wrap"] + SUFFIXES[block.language]
        return (WRAPPERS / name).read_text(encoding="utf-8").replace(
            "/* the sample */\n", block.text)

    def _run_python(self, block):
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            exec(compile(block.text, "sample", "exec"), self._names)
        return printed.getvalue()

    def _run_shell(self, block):
        return run(["bash", "-euo", "pipefail", "-c", block.text])

    def _run_console(self, block):
        script, end = "", "--- end of the output ---"
        commands = commands_of(block.text)
        for command, _ in commands:
            script += f"{command}s=$?; printf '\\n{end}'; (exit $s)\n"
        outputs = run(["bash", "-c", script + "true"],
                      stderr=subprocess.STDOUT).split("\n" + end)
        if len(outputs) <= len(commands):
            raise Failed("not every command came to its turn")
        for (command, shown), printed in zip(commands, outputs):
            if "output varies" not in block.marks:
                try:
                    expect_output(shown, printed)
                except Failed as failure:
                    raise Failed(f"{command}{failure}") from failure

    def _run_script(self, block):
        Path("sample.script").write_text(block.text, encoding="utf-8")
        reader = subprocess.Popen(["mvfp-vreader", "--script", "sample.script"],
                                  stdout=subprocess.PIPE)
        ready = reader.stdout.readline()
        reader.kill()
        if not ready:
            raise Failed("the virtual reader does not take it")

    @staticmethod
    def _read_json(block):
        json.loads(block.text)

    @staticmethod
    def _need_file(block):
        if "file" not in block.marks:
            raise Failed("say for which file: <!-- file: NAME -->")

    @staticmethod
    def _take_text(block):
        if re.search(r"^\$ ", block.text, flags=re.M):
            raise Failed("a block with commands is a console block")

    @staticmethod
    def _take(_):
        """Nothing to run."""


def check(document, surroundings):
    """Prints what became of each block; the number of those that failed."""
    failures = 0
    text = document.read_text(encoding="utf-8")
    for target in local_links(text):
        if not (document.parent / target).exists():
            print(f"{document.name}: a link leads nowhere: {target}")
            failures += 1
    runner = Runner(surroundings)
    for block in read_blocks(text):
        try:
            outcome = runner.run(block)
        except Exception as error:
            failures += 1
            outcome = f"FAILED: {error}"
            if not isinstance(error, Failed):
                outcome += "\n" + traceback.format_exc()
        print(f"{document.name}:{block.line}: {block.language}: {outcome}",
              flush=True)
    return failures


def main():
    try:
        document = Path(sys.argv[1]).resolve()
        sys.exit(1 if check(document, Surroundings()) else 0)
    except Malformed as error:
        sys.exit(f"{sys.argv[1]}: {error}")


if __name__ == "__main__":
    main()
