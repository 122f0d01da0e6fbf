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
from pathlib import Path

TREE = Path(__file__).resolve().parents[2]
BLOCK = re.compile(r"(?P<marks>(?:^ *<!--[^>]*-->\n)*)^(?P<indent> *)```"
                   r"(?P<language>\w*)\n(?P<text>.*?)^(?P=indent)```$",
                   flags=re.M | re.S)
MARK = re.compile(r"<!-- ([a-z ]+?)(?:: (.*?))? -->")
LINK = re.compile(r"\]\((?![a-z]+:)([^)#\s]+)|(?:src|href)=\"(?![a-z]+:)([^\"#]+)")
COMPILERS = {"c": [os.environ["CC"], "-std=c11"],
             "cpp": [os.environ["CXX"], "-std=c++17"]}


class Failed(Exception):
    """The document is wrong."""


def blocks(document):
    """[block, the output that the document shows after it] in their order."""
    found, end = [], 0
    for block in BLOCK.finditer(document):
        follows = not document[end:block.start("indent")].strip()
        if block["language"] == "text" and found and follows:
            found[-1][1] = block["text"]
        else:
            found.append([block, None])
        end = block.end()
    return found


def expect_output(shown, printed):
    """A line "..." stands for any lines."""
    pattern = "".join(
        "(.*\n)*" if line.strip() == "..." else re.escape(line) + "\n"
        for line in shown.splitlines())
    if not re.fullmatch(pattern, printed):
        raise Failed(f"the document shows\n{shown}but it printed\n{printed}")


def run(command, **options):
    """Its output. Not through a pipe, which a process that the command leaves
    behind would keep open."""
    with tempfile.TemporaryFile("w+") as output:
        status = subprocess.run(command, stdin=subprocess.DEVNULL,
                                stdout=output, **options).returncode
        output.seek(0)
        if status != 0:
            raise Failed(f"exit status {status}\n{output.read()}")
        return output.read()


def use_installed():
    root = Path(os.environ["MV_INSTALLED"])
    [header] = root.rglob("include/mv_fpi.h")
    [driver] = root.rglob("libmv_fpi.so.1")
    prefix = header.parents[1]
    os.environ.update(
        PATH=f"{prefix}/bin:{Path(sys.executable).parent}:{os.environ['PATH']}",
        LD_LIBRARY_PATH=str(driver.parent),
        PKG_CONFIG_PATH=f"{driver.parent}/pkgconfig",
        PKG_CONFIG_SYSROOT_DIR=str(root),
        CMAKE_PREFIX_PATH=str(prefix),
        CMAKE_GENERATOR="Ninja",
        MV_FPI_LIBRARY=str(driver),
        HOME=os.getcwd(),
        PIP_NO_INDEX="1")
    for flags in COMPILERS.values():
        flags += ["-Wall", "-Wextra", "-Werror", f"-I{header.parent}",
                  f"-I{TREE}/apps", f"-L{driver.parent}"]


def start_reader(*options):
    reader = subprocess.Popen(["mvfp-vreader", *options], text=True,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
    port = reader.stdout.readline().strip()
    if not port:
        raise Failed("the virtual reader does not take it")
    return port


def run_program(language, text, marks):
    if "wrap" in marks:
        wrapper = Path(__file__).parent / f"wrappers/{marks['wrap']}.{language}"
        text = wrapper.read_text().replace("/* the sample */\n", text)
    source = Path(f"sample.{language}")
    source.write_text(text)
    command = [*COMPILERS[language], str(source)]
    if "file" in marks or not re.search(r"\bmain\(", text):
        return run([*command, "-c", "-o", "sample.o"])
    channel = "<cx_capdlg_lib.h>" in text
    run([*command, "-lcx_capdlg_lib" if channel else "-lmv_fpi", "-ldl",
         "-pthread", "-o", "sample"])
    return run(["./sample"])


def run_console(text):
    """What the document shows, and the output: of all commands together."""
    lines = text.replace("\\\n> ", "\\\n$ ").splitlines(keepends=True)
    commands = [line[2:] for line in lines if line.startswith("$ ")]
    shown = [line for line in lines if not line.startswith("$ ")]
    return "".join(shown), run(["bash", "-c", "".join(commands) + "true"],
                               stderr=subprocess.STDOUT)


def run_python(text, names):
    printed = io.StringIO()
    with contextlib.redirect_stdout(printed):
        exec(compile(text, "sample", "exec"), names)
    return printed.getvalue()


def check_unrun(reason, language, text):
    if not reason:
        raise Failed("give the reason: <!-- not run: REASON -->")
    if language == "sh":
        run(["bash", "-n", "-c", text])
    for path in re.findall(r"\b(?:scripts|packaging)/[\w./-]+", text):
        if not Path(path).exists():
            raise Failed(f"there is no {path}")


def check_block(block, shown, names):
    language, marks = block["language"], dict(MARK.findall(block["marks"]))
    text = re.sub(f"^{block['indent']}", "", block["text"], flags=re.M)
    if "file" in marks:
        Path(marks["file"]).write_text(text)
    if "not run" in marks:
        return check_unrun(marks["not run"], language, text)
    if "run if" in marks and os.system(marks["run if"]) != 0:
        print("skipped, for this fails:", marks["run if"])
        return None
    printed = ""
    if language in COMPILERS:
        printed = run_program(language, text, marks)
    elif language == "python":
        printed = run_python(text, names)
    elif language == "sh":
        printed = run(["bash", "-euo", "pipefail", "-c", text])
    elif language == "console":
        shown, printed = run_console(text)
    elif language == "script":
        Path("sample.script").write_text(text)
        start_reader("--script", "sample.script")
    elif language == "json":
        json.loads(text)
    elif language not in ("cmake", "mermaid", "text"):
        raise Failed(f"no way to run a block of '{language}'")
    if shown is not None and "output varies" not in marks:
        expect_output(shown, printed)
    return None


def main():
    page = Path(sys.argv[1])
    document = page.read_text()
    for target in map("".join, LINK.findall(BLOCK.sub("", document))):
        if not (page.parent / target).exists():
            raise Failed(f"a link leads nowhere: {target}")
    os.chdir(tempfile.mkdtemp())
    leave_out = shutil.ignore_patterns("build", ".git", "corpus")
    shutil.copytree(TREE, ".", symlinks=True, ignore=leave_out,
                    dirs_exist_ok=True)
    # Under the name that the documents know, whatever the preset.
    Path("build").mkdir()
    Path("build/release").symlink_to(os.environ["MV_BUILD_DIR"])
    use_installed()
    port = start_reader("--baud", "0", "--auto-press", "1", "--link",
                        "/dev/ttyUSB0")
    os.symlink(port, "/dev/COM3")
    names = {}  # of all Python blocks together
    for block, shown in blocks(document):
        print(block.group(), flush=True)
        check_block(block, shown, names)


if __name__ == "__main__":
    main()
