"""Manual pages: text to the typesetter's language, and to files."""

import gzip
import pathlib
import re


def escape(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    text = text.replace("'", "\\(aq").replace("`", "\\(ga").replace("^", "\\(ha")
    return re.sub(r"^\.", r"\\&.", text.replace("~", "\\(ti"), flags=re.M)


def emphasize(text):
    """Escaped prose with constants and functions in bold."""
    return re.sub(
        r"\b(?:(?:FG|DEV|CX|SMO)_[\w*]+|cx_dlg_\w+)",
        lambda name: f"\\fB{name[0]}\\fR",
        escape(text),
    )


def prose(lines):
    return emphasize("\n".join(line.strip() for line in lines)) + "\n"


def verbatim(lines):
    return ".nf\n" + escape("\n".join(lines)) + "\n.fi\n"


def heading(title):
    return f'.SH "{escape(title.upper())}"\n'


def write_page(directory, name, section, version, summary, body):
    """Compressed as packages carry it, the same bytes for the same text."""
    page = (
        f'.TH {escape(name)} {section} "" "mv_fpi {version}" "mv_fpi"\n'
        + heading("name")
        + f"{escape(name)} \\- {escape(summary)}\n"
        + body
    )
    path = pathlib.Path(directory, f"{name}.{section}.gz")
    with open(path, "wb") as file:
        with gzip.GzipFile("", "wb", 9, file, mtime=0) as packed:
            packed.write(page.encode())
