#!/usr/bin/env python3
"""Checks that every folder includes only what it may.

usage: check_layers.py [ROOT]

Dependencies run one way: the text families of util -> sys -> util/dynbuffer -> settings; the client uses
sys and util, the probe binding the platform seam alone. Only sys/ and probe/ speak to the operating
system, and only sys/platform/ knows which one it is. What breaks a rule is printed as "file:line: rule";
the exit status is 1 then, else 0.
"""

import pathlib
import re
import sys

SOURCE_SUFFIXES = {".c", ".cpp", ".h"}

# Folder (or file, without its suffix) -> the folders and files it may include besides itself. The longest
# name that fits a file counts.
MAY_INCLUDE = {
    "util": (),
    "util/dynbuffer": ("util", "sys"),
    "sys": ("util", "sys/platform"),
    "sys/platform": (),
    "settings": ("sys", "util", "util/dynbuffer"),
    "probe": ("sys/platform",),
    "client": ("sys", "util"),
    "tools": ("sys", "util"),
    "tests": ("client", "probe", "settings", "sys", "sys/platform", "tools", "util", "util/dynbuffer"),
    "bench": ("probe", "settings", "sys", "util", "util/dynbuffer"),
    "fuzz": ("client", "probe", "settings", "sys", "util", "util/dynbuffer", "tests"),
    "examples": ("probe", "settings", "sys", "util"),
}

# Where the rules for the product's own code hold.
PRODUCT = ("client", "probe", "settings", "sys", "util")

C_HEADERS = set("""
    assert.h complex.h ctype.h errno.h fenv.h float.h inttypes.h iso646.h limits.h locale.h math.h setjmp.h
    signal.h stdalign.h stdarg.h stdatomic.h stdbool.h stddef.h stdint.h stdio.h stdlib.h stdnoreturn.h
    string.h tgmath.h threads.h time.h uchar.h wchar.h wctype.h
    """.split())

# C++ headers that need nothing of the C++ run-time library.
HEADER_ONLY_CPP = set("""
    algorithm array atomic bit cassert cctype cerrno cinttypes climits compare concepts cstdarg cstddef
    cstdint cstdio cstdlib cstring ctime initializer_list iterator limits numeric optional span string_view
    tuple type_traits utility
    """.split())

# Names that a header of sys/ may not bear: the system has a <sys/...> of that name.
SYSTEM_NAMES = set("""
    errno.h event.h file.h ioctl.h mman.h param.h poll.h random.h resource.h select.h signal.h socket.h
    stat.h syslog.h termios.h time.h types.h uio.h un.h unistd.h wait.h
    """.split())

# Headers that belong to one system, and the one folder that may know it.
ONE_SYSTEM = re.compile(
    r"(mach|IOKit|CoreFoundation|linux|asm)/|sys/(sysctl|prctl|epoll|inotify|event)\.h|libproc\.h")
SYSTEM_CONDITION = re.compile(r"^\s*#\s*(if|ifdef|ifndef|elif)\b.*__(APPLE|linux|MACH)__")

# The product's one source outside sys/ and probe/ that speaks to the system itself.
POSIX_EXCEPTION = "client/terminal_mode.cpp"

INCLUDE = re.compile(r'^\s*#\s*include\s*(<([^>]+)>|"([^"]+)")')


def unit_of(path):
    """The entry of MAY_INCLUDE that a path (relative, as text) falls under, or None."""
    stem = re.sub(r"\.(cpp|c|h)$", "", path)
    fitting = [name for name in MAY_INCLUDE if stem == name or path.startswith(name + "/")]
    return max(fitting, key=len, default=None)


def is_product(path):
    return path.startswith(tuple(folder + "/" for folder in PRODUCT))


def check_quoted(path, header, root):
    """The rule that an include of one of our own headers breaks, or None."""
    sibling = str(pathlib.PurePosixPath(path).parent / header)
    if "/" not in header:
        # Public headers include their neighbours so, which works installed as well.
        if not (root / sibling).is_file():
            return f'there is no "{header}" beside this file'
        header = sibling
    elif not (root / header).is_file():
        return f'there is no "{header}" in the tree'
    unit, target = unit_of(path), unit_of(header)
    if target == unit or target in MAY_INCLUDE[unit]:
        return None
    return f'{unit} may not include "{header}"'


def check_angled(path, header):
    """The rule that an include of a system's or library's header breaks, or None."""
    if not is_product(path):
        return None
    if ONE_SYSTEM.match(header) and not path.startswith("sys/platform/"):
        return f"only sys/platform may include <{header}>, which one system alone has"
    if header in C_HEADERS or header in HEADER_ONLY_CPP:
        return None
    if "." not in header:
        return f"the product may not include <{header}>, which needs the C++ run-time library"
    if path.startswith(("sys/", "probe/")) or path == POSIX_EXCEPTION:
        return None
    return f"{unit_of(path)} may not include <{header}>: the operating system is for sys and probe"


def check_line(path, line, root):
    if SYSTEM_CONDITION.match(line) and not path.startswith(("sys/platform/", "tests/")):
        return "only sys/platform may ask which system this is"
    include = INCLUDE.match(line)
    if not include:
        return None
    if include[3]:
        return check_quoted(path, include[3], root)
    return check_angled(path, include[2])


def check_file(path, root):
    """Yields "file:line: rule" for every broken rule."""
    name = pathlib.PurePosixPath(path).name
    if path.startswith("sys/") and name in SYSTEM_NAMES:
        yield f"{path}:1: a header in sys may not bear the name of a system's header"
    lines = (root / path).read_text(encoding="utf-8").splitlines()
    for number, line in enumerate(lines, start=1):
        rule = check_line(path, line, root)
        if rule:
            yield f"{path}:{number}: {rule}"


def source_files(root):
    """All sources below the folders of MAY_INCLUDE, as relative text paths."""
    for folder in sorted({name.split("/")[0] for name in MAY_INCLUDE}):
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in SOURCE_SUFFIXES:
                yield path.relative_to(root).as_posix()


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent)
    files = list(source_files(root))
    broken = [line for path in files for line in check_file(path, root)]
    print(*broken, sep="\n", end="\n" if broken else "")
    print(f"{len(files)} files checked, {len(broken)} broken rules.")
    return 1 if broken else 0


if __name__ == "__main__":
    sys.exit(main())
