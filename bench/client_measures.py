#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures the client as a whole, beside what else a user could take and beside its own pacing.

usage: client_measures.py BUILD-FOLDER RESULTS.json [SHARE]

SHARE is the part of the full measure of bytes and repetitions to take, 0.01 for a mere trial.

The client pauses for a millisecond after each block of at most 16,383 bytes, so its throughput is
bound by how long such a pause really takes here; that is measured in the same run. Peers: nc and
socat, which pass bytes on as they come. Needs Linux with strace and GNU strip.
"""

import collections
import contextlib
import json
import os
import pathlib
import pty
import random
import re
import select
import signal
import socket
import statistics
import subprocess
import sys
import tempfile
import termios
import threading
import time

BLOCK = 16383
WELCOME = b"M-Bolt terminal server, ready for the benchmark.\r\n"
CONNECTED = b"Connected."
LINE = b"[00012345] sensor 3: temperature 23.5 C, supply 3.301 V, state RUNNING\r\n"
MIB = 1 << 20

Measure = collections.namedtuple("Measure", "name value unit target at_least beside")


def at_most(name, value, unit, target, beside=""):
    return Measure(name, value, unit, target, False, beside)


def at_least(name, value, unit, target, beside=""):
    return Measure(name, value, unit, target, True, beside)


def percentile(values, percent):
    return sorted(values)[min(len(values) - 1, len(values) * percent // 100)]


def spread(values, unit="ms"):
    return (f"p50 {percentile(values, 50):.3g}, p90 {percentile(values, 90):.3g}, "
            f"p99 {percentile(values, 99):.3g}, max {max(values):.3g} {unit}; {len(values)} times")


# ---- Ends of the wire ----

def listener(port=0):
    server = socket.socket()
    server.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    server.bind(("127.0.0.1", port))
    server.listen()
    return server


def port_of(server):
    return server.getsockname()[1]


def free_port():
    with listener() as server:
        return port_of(server)


def accept(server, welcome=WELCOME):
    connection, _ = server.accept()
    connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    connection.sendall(welcome)
    return connection


class Program:
    """A program whose keyboard is a pseudo-terminal, and whose screen is the same one or a pipe."""

    def __init__(self, command, on_terminal):
        self.keyboard, terminal = pty.openpty()
        if on_terminal:
            self.screen, output = self.keyboard, terminal
        else:
            self.screen, output = os.pipe()
        self.process = subprocess.Popen(command, stdin=terminal, stdout=output, stderr=output,
                                        start_new_session=True)
        os.close(terminal)
        if not on_terminal:
            os.close(output)

    def read_until(self, mark):
        text = b""
        while mark not in text:
            text += os.read(self.screen, 65536)
        return text

    def read_welcome(self):
        self.read_until(WELCOME.strip())
        # The rest of its line.
        while select.select([self.screen], [], [], 0.05)[0]:
            os.read(self.screen, 65536)

    def skip(self, length):
        while length > 0:
            length -= len(os.read(self.screen, 1 << 20))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        for descriptor in {self.keyboard, self.screen}:
            os.close(descriptor)


class Bench:
    def __init__(self, folder, share):
        self.client = str(folder / "bin" / "vqxclient")
        self.share = share
        self.stream = LINE * self.times(64 * MIB // len(LINE))

    def times(self, count):
        return max(3, round(count * self.share))

    def client_command(self, port):
        return [self.client, "-LocalEcho", "Off", "-VQXTelnetPort", str(port)]

    @contextlib.contextmanager
    def session(self, on_terminal):
        """A client that has connected, and the server's end of its connection."""
        with listener() as server, Program(self.client_command(port_of(server)), on_terminal) as client:
            with accept(server) as connection:
                client.read_welcome()
                yield client, connection

    # ---- Throughput ----

    def seconds_for(self, connection, screen, sent, shown):
        """How long it takes until that many bytes are shown of what is sent."""
        sender = threading.Thread(target=connection.sendall, args=(sent,))
        start = time.perf_counter()
        sender.start()
        screen.skip(shown)
        seconds = time.perf_counter() - start
        sender.join()
        return seconds

    def client_throughput(self, on_terminal):
        sent = self.stream
        # To a pipe a line loses its CR; a terminal gives it one again.
        shown = len(sent) if on_terminal else len(sent) - sent.count(b"\r")
        pauses = real_pauses(self.times(1000))
        with self.session(on_terminal) as (client, connection):
            seconds = self.seconds_for(connection, client, sent, shown)
        pauses += real_pauses(self.times(1000))
        bound = BLOCK / statistics.median(pauses)
        return len(sent) / seconds, bound

    def peer_throughput(self, command, on_terminal):
        sent = self.stream
        with listener() as server:
            with Program(command(port_of(server)), on_terminal) as peer:
                with accept(server, b"") as connection:
                    terminal = termios.tcgetattr(peer.keyboard)
                    terminal[1] &= ~termios.OPOST
                    termios.tcsetattr(peer.keyboard, termios.TCSANOW, terminal)
                    return len(sent) / self.seconds_for(connection, peer, sent, len(sent))

    def throughput(self):
        for place, on_terminal, target in (("a pipe", False, 92), ("a pseudo-terminal", True, 80)):
            rates = [self.client_throughput(on_terminal) for _ in range(3)]
            percents = [100 * rate / bound for rate, bound in rates]
            rate, bound = statistics.median(rates)
            peers = ", ".join(f"{name} {self.peer_throughput(command, on_terminal) / 1e6:.0f} MB/s"
                              for name, command in PEERS)
            yield at_least(f"64 MiB to {place}, of the bound", statistics.median(percents), "%", target,
                           f"{rate / 1e6:.1f} MB/s, bound {bound / 1e6:.1f} MB/s; runs "
                           + ", ".join(f"{percent:.1f}" for percent in percents) + f" %; {peers}")

    def writes_per_block(self):
        with tempfile.NamedTemporaryFile("r") as trace, listener() as server:
            command = ["strace", "-f", "-e", "trace=recvfrom,write,writev", "-s", "99", "-o", trace.name]
            with Program(command + self.client_command(port_of(server)), False) as client:
                with accept(server) as connection:
                    client.read_welcome()
                    sent = LINE * (8 * MIB // len(LINE))
                    client_end = len(sent) - sent.count(b"\r")
                    self.seconds_for(connection, client, sent, client_end)
            calls = trace.read()
        after_welcome = calls[calls.index("ready for"):]
        blocks = len(re.findall(r"recvfrom\(.*= [1-9]\d*$", after_welcome, re.M)) - 1
        writes = len(re.findall(r"writev?\(.*= [1-9]\d*$", after_welcome, re.M)) - 1
        yield at_most("write calls a received block", writes / blocks, "", 1.1,
                      f"{writes} calls for {blocks} blocks")

    # ---- Latency ----

    def delays(self, send, receive, on_terminal=True):
        """How long, in milliseconds, a byte takes through the client; and what to say of that and of
        the peers. send and receive get the program and the server's end of its connection."""
        def measure(program, connection, times):
            for _ in range(times):
                time.sleep(random.uniform(0.015, 0.03))
                start = time.perf_counter()
                send(program, connection)
                receive(program, connection)
                yield 1000 * (time.perf_counter() - start)

        with self.session(on_terminal) as (client, connection):
            own = list(measure(client, connection, self.times(1000)))
        peers = []
        for name, command in PEERS:
            with listener() as server, Program(command(port_of(server)), on_terminal) as peer:
                with accept(server) as connection:
                    peer.read_welcome()
                    # One key at a time, as the client has it.
                    terminal = termios.tcgetattr(peer.keyboard)
                    terminal[3] &= ~(termios.ICANON | termios.ECHO)
                    termios.tcsetattr(peer.keyboard, termios.TCSANOW, terminal)
                    theirs = list(measure(peer, connection, self.times(200)))
                    peers.append(f"{name} p50 {percentile(theirs, 50):.2g}")
        return own, spread(own) + "; " + ", ".join(peers) + " ms"

    def key_to_server(self):
        own, beside = self.delays(lambda program, _: os.write(program.keyboard, b"k"),
                                  lambda _, connection: connection.recv(1))
        yield at_most("key to server, p50", percentile(own, 50), "ms", 7.5, beside)
        yield at_most("key to server, p99", percentile(own, 99), "ms", 13)

    def server_to_screen(self):
        for place, on_terminal in (("a pipe", False), ("a pseudo-terminal", True)):
            own, beside = self.delays(lambda _, connection: connection.send(b"s"),
                                      lambda program, _: os.read(program.screen, 16), on_terminal)
            yield at_most(f"server to {place} as the screen, p50", percentile(own, 50), "ms", 0.1,
                          beside)
            yield at_most(f"server to {place} as the screen, p99", percentile(own, 99), "ms", 5)

    def listener_to_connected(self):
        delays = []
        for _ in range(self.times(100)):
            port = free_port()
            with Program(self.client_command(port), False) as client:
                client.read_until(b"...")
                time.sleep(random.uniform(0.1, 0.9))
                start = time.perf_counter()
                with listener(port) as server, accept(server):
                    client.read_until(CONNECTED)
                    delays.append(1000 * (time.perf_counter() - start))
        yield at_most("listener appears to \"Connected.\", p50", percentile(delays, 50), "ms", 6,
                      spread(delays))
        yield at_most("listener appears to \"Connected.\", maximum", max(delays), "ms", 25)

    # ---- At rest ----

    def idle(self):
        seconds = 20 * self.share
        with self.session(True) as (client, _):
            folder = pathlib.Path(f"/proc/{client.process.pid}")

            def processor_time():
                return int((folder / "schedstat").read_text().split()[0]) / 1e9

            def wake_ups():
                return int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)",
                                     (folder / "status").read_text(), re.M)[1])

            time.sleep(0.5)
            time_before, wake_ups_before = processor_time(), wake_ups()
            time.sleep(seconds)
            used, woken = processor_time() - time_before, wake_ups() - wake_ups_before
        yield at_most("idle: share of a core", 100 * used / seconds, "%", 0.5,
                      f"the two waits of a pass alone, in this script: {self.share_of_bare_waits(self.times(500)):.3g} %")
        yield at_most("idle: wake-ups", woken / seconds, "a second", 180,
                      "two a pass: 10 ms of waiting and 1 ms of pause")

    @staticmethod
    def share_of_bare_waits(passes):
        with listener() as silent:
            start, used = time.perf_counter(), time.thread_time()
            for _ in range(passes):
                select.select([silent], [], [], 0.010)
                time.sleep(0.001)
            return 100 * (time.thread_time() - used) / (time.perf_counter() - start)

    def memory(self):
        with self.session(True) as (client, connection):
            sent = LINE * (MIB // len(LINE))
            self.seconds_for(connection, client, sent, len(sent))
            peak, own = (kibibytes(client, name) for name in ("VmHWM", "RssAnon"))
        with Program(["/bin/cat"], True) as cat:
            os.write(cat.keyboard, b"x\n")
            cat.read_until(b"x\r\nx\r\n")
            cat_peak = kibibytes(cat, "VmHWM")
        yield at_most("peak memory", peak / 1024, "MiB", 3,
                      f"of it {own} KiB not shared with files; /bin/cat {cat_peak / 1024:.2f} MiB")

    def size(self):
        with tempfile.NamedTemporaryFile() as stripped:
            subprocess.run(["strip", "-o", stripped.name, self.client], check=True)
            yield at_most("stripped size, with all entry points", os.path.getsize(stripped.name) / 1024,
                          "KiB", 200)

    # ---- Start ----

    def start(self):
        port = str(free_port())
        commands = {"client": self.client_command(port), "/bin/echo": ["/bin/echo", "banner"]}
        times = {name: [] for name in commands}
        for _ in range(self.times(300)):
            for name in random.sample(list(commands), len(commands)):
                times[name].append(1000 * self.first_byte(commands[name]))
        client, echo = (statistics.median(values) for values in times.values())
        yield at_most("start to the banner's first byte, of /bin/echo's", client / echo, "times", 1.5,
                      f"client {client:.2f} ms, /bin/echo {echo:.2f} ms; medians of {len(times['client'])}")

    @staticmethod
    def first_byte(command):
        reader, writer = os.pipe()
        actions = [(os.POSIX_SPAWN_DUP2, writer, 1), (os.POSIX_SPAWN_CLOSE, reader),
                   (os.POSIX_SPAWN_CLOSE, writer)]
        start = time.perf_counter()
        process = os.posix_spawn(command[0], command, os.environ, file_actions=actions)
        os.close(writer)
        os.read(reader, 1)
        seconds = time.perf_counter() - start
        os.kill(process, signal.SIGKILL)
        os.waitpid(process, 0)
        os.close(reader)
        return seconds


PEERS = (
    ("nc", lambda port: ["nc", "127.0.0.1", str(port)]),
    ("socat", lambda port: ["socat", "-", f"TCP:127.0.0.1:{port},nodelay"]),
)


def real_pauses(count):
    """How long a pause of one millisecond really takes, in seconds."""
    pauses = []
    for _ in range(count):
        start = time.perf_counter()
        time.sleep(0.001)
        pauses.append(time.perf_counter() - start)
    return pauses


def kibibytes(program, name):
    """A figure of the program's status, such as VmHWM."""
    status = pathlib.Path(f"/proc/{program.process.pid}/status").read_text()
    return int(re.search(name + r":\s*(\d+)", status)[1])


def main(arguments):
    if len(arguments) not in (2, 3):
        sys.exit(__doc__)
    share = float(arguments[2]) if len(arguments) == 3 else 1
    bench = Bench(pathlib.Path(arguments[0]).resolve(), share)
    groups = (bench.throughput, bench.writes_per_block, bench.key_to_server, bench.server_to_screen,
              bench.listener_to_connected, bench.idle, bench.start, bench.memory, bench.size)
    measures = [measure for group in groups for measure in group()]
    pathlib.Path(arguments[1]).write_text(
        json.dumps([measure._asdict() for measure in measures], indent=1))


main(sys.argv[1:])
