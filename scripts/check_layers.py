#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that every folder includes only what it may.

usage: check_layers.py [ROOT]

Dependencies run one way: the text families of util -> sys -> util/dynbuffer -> settings; the client
stands on sys and util, the probe binding on sys/platform alone. Only sys/ and probe/ speak to the
operating system, and only sys/platform/ knows which one it is.

Prints "file:line: rule" for every broken rule and exits with 1, or prints one summary line and
exits with 0. ROOT is the tree to check; without it, the tree that this script stands in.
"""

import pathlib
import posixpath
import re
import sys

SUFFIXES = {".c", ".cpp", ".def", ".h"}
FOLDERS_WITHOUT_SOURCES = {"build", "cmake", "docs", "node_modules", "scripts"}

C_HEADERS = set("""
    assert.h complex.h ctype.h errno.h fenv.h float.h inttypes.h iso646.h limits.h locale.h math.h
    setjmp.h signal.h stdalign.h stdarg.h stdatomic.h stdbool.h stddef.h stdint.h stdio.h stdlib.h
    stdnoreturn.h string.h tgmath.h threads.h time.h uchar.h wchar.h wctype.h""".split())

# The C++ headers whose contents need nothing of the C++ run-time library.
HEADER_ONLY_CPP_HEADERS = set("""
    algorithm array atomic bit cassert cctype cerrno cfloat charconv cinttypes climits cmath compare
    concepts csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime initializer_list
    iterator limits numbers numeric optional ranges ratio span string_view tuple type_traits utility
    version""".split())

# POSIX.1-2017, and in the last line what Linux and macOS have in common beyond it.
POSIX_HEADERS = set("""
    aio.h arpa/inet.h cpio.h dirent.h dlfcn.h fcntl.h fmtmsg.h fnmatch.h ftw.h glob.h grp.h iconv.h
    langinfo.h libgen.h monetary.h mqueue.h ndbm.h net/if.h netdb.h netinet/in.h netinet/tcp.h
    nl_types.h poll.h pthread.h pwd.h regex.h sched.h search.h semaphore.h spawn.h strings.h
    sys/ipc.h sys/mman.h sys/msg.h sys/resource.h sys/select.h sys/sem.h sys/shm.h sys/socket.h
    sys/stat.h sys/statvfs.h sys/time.h sys/times.h sys/types.h sys/uio.h sys/un.h sys/utsname.h
    sys/wait.h syslog.h tar.h termios.h ulimit.h unistd.h utime.h utmpx.h wordexp.h
    editline/readline.h ifaddrs.h sys/file.h sys/ioctl.h sys/param.h""".split())

# More names X of which a system has <sys/X>.
OTHER_SYS_NAMES = set("""
    cdefs.h dir.h epoll.h errno.h event.h eventfd.h fcntl.h kernel.h lock.h mount.h poll.h prctl.h
    proc.h queue.h random.h reboot.h sendfile.h signal.h syscall.h sysctl.h sysinfo.h syslog.h
    termios.h timerfd.h tty.h ucontext.h unistd.h user.h vm.h xattr.h""".split())
SYS_NAMES = OTHER_SYS_NAMES | {name[4:] for name in POSIX_HEADERS if name.startswith("sys/")}

# What compilers say of one kind of processor.
PROCESSOR_HEADERS = {"cpuid.h", "emmintrin.h", "immintrin.h"}

# Kinds of system headers, worded for the messages. Unknown ones count as SPECIFIC.
STANDARD = "is standard"
RUN_TIME = "needs the C++ run-time library"
POSIX = "belongs to the operating system"
PROCESSOR = "belongs to one kind of processor"
SPECIFIC = "is neither standard nor on every system"

PORTABLE = {STANDARD}
HOSTED = {STANDARD, RUN_TIME}
UNIX = {STANDARD, POSIX}
ONE_SYSTEM = {STANDARD, POSIX, PROCESSOR, SPECIFIC}
EVERYTHING = None

ALL_UTIL = {"util", "util/dynbuffer", "util/util"}
UMBRELLAS = {"util/util.h", "sys/sys.h", "settings/xml.h", "settings/registry.h",
             "probe/probelib.h", "probe/mbolt_api.h"}

# Unit (a folder, or a file without its suffix; the longest that fits a path counts) -> the units
# and single headers of ours that it may include besides its own, and the kinds of system headers.
UNITS = {
    "util": (set(), PORTABLE),
    "util/dynbuffer": ({"util", "sys/memory.h"}, PORTABLE),
    "util/util": (ALL_UTIL, PORTABLE),
    "sys": ({"util", "sys/platform"}, UNIX),
    "sys/platform": (set(), ONE_SYSTEM),
    "settings": (ALL_UTIL | {"sys"}, PORTABLE),
    "client": (ALL_UTIL | {"sys"}, PORTABLE),
    "probe": ({"sys/platform"}, UNIX),
    "tools": (ALL_UTIL | {"sys", "probe/entry_points.def", "probe/mbolt_api.h", "probe/parameters.h"},
              HOSTED),
    "examples": (UMBRELLAS, PORTABLE),
    "tests": (EVERYTHING, EVERYTHING),
    "bench": (EVERYTHING, EVERYTHING),
    "fuzz": (EVERYTHING, EVERYTHING),
}

SYSTEM_EXCEPTIONS = {
    # The session asks the terminal itself: the one source outside sys/ and probe/ that may.
    "client/terminal_mode.cpp": UNIX,
    # CMake takes these for this processor alone.
    "settings/xml_marks_x86_64.cpp": {STANDARD, PROCESSOR},
    "util/byte_search_x86_64.cpp": {STANDARD, PROCESSOR},
    "util/byte_swap_x86_64.cpp": {STANDARD, PROCESSOR},
    "util/processor_x86_64.cpp": {STANDARD, PROCESSOR},
}

PUBLIC_FOLDERS = {"util", "sys", "settings", "probe"}
FOLDERS_THAT_KNOW_THE_SYSTEM = ("sys/platform/", "tests/")

COMMENT_OR_TEXT = re.compile(
    r"""//(?:\\\n|[^\n])*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|(?<!\w)'(?:\\.|[^'\\\n])*'""", re.DOTALL)
DIRECTIVE = re.compile(r"^[ \t]*#[ \t]*(\w+)((?:\\\n|[^\n])*)", re.MULTILINE)
HEADER = re.compile(r'\s*(?:"([^"]+)"|<([^>]+)>)')
SYSTEM_MACRO = re.compile(
    r"\b(__APPLE__|__MACH__|TARGET_OS_\w+|__linux(__)?|__gnu_linux__|__unix__|_WIN32)\b")


def without_comments(text):
    """The text with every comment replaced by its line ends."""
    def keep(match):
        return match[0] if match[0][0] in "\"'" else "\n" * match[0].count("\n")
    return COMMENT_OR_TEXT.sub(keep, text)


def unit_of(path):
    """The entry of UNITS that a path falls under, or None."""
    stem = posixpath.splitext(path)[0]
    fitting = [unit for unit in UNITS if stem == unit or path.startswith(unit + "/")]
    return max(fitting, key=len, default=None)


def kind_of(header):
    if header in C_HEADERS or header in HEADER_ONLY_CPP_HEADERS:
        return STANDARD
    if header in POSIX_HEADERS:
        return POSIX
    if header in PROCESSOR_HEADERS:
        return PROCESSOR
    return SPECIFIC if "." in header or "/" in header else RUN_TIME


def is_public(path, text):
    """Whether a header is one of those that users include: umbrellas and what has C linkage."""
    folder, name = posixpath.split(path)
    return (folder in PUBLIC_FOLDERS and name.endswith(".h")
            and (name == folder + ".h" or 'extern "C"' in text))


def check_ours(path, found, shown, public):
    """The rule that including a header of this tree breaks, or None."""
    unit, target = unit_of(path), unit_of(found)
    ours = UNITS[unit][0]
    if ours is not EVERYTHING and target != unit and not {target, found} & ours:
        return f"{unit} may not include {shown}"
    if public and "/" in shown and not shown.startswith('"../'):
        return f"a public header includes its siblings without a folder, not {shown}"
    return None


def check_systems(path, header, shown, public):
    """The rule that including a header from outside this tree breaks, or None."""
    unit = unit_of(path)
    systems = SYSTEM_EXCEPTIONS.get(path, UNITS[unit][1])
    kind = kind_of(header)
    if systems is not EVERYTHING and kind not in systems:
        return f"{unit} may not include {shown}, which {kind}"
    if public and header not in C_HEADERS:
        return f"a public header may not include {shown}, which C does not have"
    return None


class Checker:
    """The rules, applied to one tree."""

    def __init__(self, root):
        self.root = root

    def find(self, path, quoted, angled):
        """The path of an included header in the tree; None when the system has to supply it."""
        if angled:
            return angled[len("tarven/"):] if angled.startswith("tarven/") else None
        for folder in (posixpath.dirname(path), ""):
            candidate = posixpath.normpath(posixpath.join(folder, quoted))
            if (self.root / candidate).is_file():
                return candidate
        return None

    def check_include(self, path, argument, public):
        """The rule that an include breaks, or None."""
        header = HEADER.match(argument)
        if not header:
            return "an include names its header itself"
        found = self.find(path, *header.groups())
        if found:
            return check_ours(path, found, header[0].strip(), public)
        return check_systems(path, header[1] or header[2], header[0].strip(), public)

    def check_directive(self, path, name, argument, public):
        """The rule that a preprocessor directive breaks, or None."""
        if name in ("include", "include_next", "import"):
            return self.check_include(path, argument, public)
        if name in ("if", "ifdef", "ifndef", "elif") and SYSTEM_MACRO.search(argument):
            if not path.startswith(FOLDERS_THAT_KNOW_THE_SYSTEM):
                return "only sys/platform may ask which system this is"
        return None

    def check_file(self, path):
        """Yields "file:line: rule" for every rule that a file breaks."""
        if unit_of(path) is None:
            yield f"{path}:1: {path.split('/')[0]} has no place in the table of layers"
            return
        folder, name = posixpath.split(path)
        if folder == "sys" and name in SYS_NAMES:
            yield f"{path}:1: a header in sys may not bear a system header's name"
        text = without_comments((self.root / path).read_text(encoding="utf-8"))
        public = is_public(path, text)
        for directive in DIRECTIVE.finditer(text):
            rule = self.check_directive(path, directive[1], directive[2], public)
            if rule:
                line = text.count("\n", 0, directive.start()) + 1
                yield f"{path}:{line}: {rule}"

    def sources(self):
        """The paths of all sources, relative to the root."""
        for folder in sorted(self.root.iterdir()):
            if folder.name.startswith(".") or folder.name in FOLDERS_WITHOUT_SOURCES:
                continue
            for path in sorted(folder.rglob("*")):
                if path.suffix in SUFFIXES and path.is_file():
                    yield path.relative_to(self.root).as_posix()


def main(arguments):
    """Checks the tree and prints what is found; returns the exit status."""
    root = pathlib.Path(arguments[0] if arguments else pathlib.Path(__file__).resolve().parents[1])
    checker = Checker(root)
    paths = list(checker.sources())
    broken = [line for path in paths for line in checker.check_file(path)]
    if broken or not paths:
        print("\n".join(broken) or f"{root}: no sources to check")
        return 1
    print(f"{len(paths)} sources checked: every folder includes only what it may.")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
