#!/usr/bin/python3
"""The same messages over several roads, by turns in one run: compare.py [--rounds N] [--turns N] PROGRAM...

Each program is a contender_NAME; the first is what the others are compared with. In each round every road gets new
processes and connections. Prints JSON: for each exchange, quantity and contender the median of all turns, and the median
of its multiples of the first contender's, turn by turn.
"""
import argparse
import json
import random
import re
import statistics
import subprocess


class End:
    """A contender's process, the server's or, with its port, the client's."""

    def __init__(self, program, *port):
        self.process = subprocess.Popen([program, *port], text=True, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.port = self.answer()[0]

    def answer(self):
        return self.process.stdout.readline().split()

    def order(self, exchange):
        print(*exchange, file=self.process.stdin, flush=True)

    def cost(self):
        return [float(word) for word in self.answer()]

    def peak_kib(self):
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as status:
            return int(re.search(r"VmHWM:\s*(\d+)", status.read())[1])

    def end(self):
        self.process.stdin.close()
        if self.process.wait() != 0:
            raise SystemExit(f"{self.process.args} ended with status {self.process.returncode}")


class Contender:
    def __init__(self, program):
        self.server = End(program)
        self.client = End(program, self.server.port)

    def turn(self, exchange):
        """Microseconds and processor microseconds of a round trip, or of a message of the stream."""
        for end in (self.server, self.client):
            end.order(exchange)
        (seconds, client), (_, server) = self.client.cost(), self.server.cost()
        scale = 1e6 / (exchange[0] * exchange[3])
        return {"time": seconds * scale, "processor time": (client + server) * scale}

    def peak_kib(self):
        return {"peak memory so far": self.server.peak_kib() + self.client.peak_kib()}

    def end(self):
        self.client.end()
        self.server.end()


def exchanges():
    """By name and size what contenders are ordered: messages of a group, their length, the reply's length, repeats."""
    for size in (16, 4096, 65536, 1048576):
        yield ("round trip", size), (1, size, size, min(max((2 << 20) // size, 4), 64))
        yield ("stream", size), (min(max((8 << 20) // size, 8), 1024), size, 1, 1)


def play_round(programs, turns, note):
    contenders = {name: Contender(program) for name, program in programs.items()}
    for what, exchange in exchanges():
        for turn in range(turns + 1):
            # A road can leave the machine busy: none comes always after the same other one.
            names = random.sample(list(contenders), len(contenders))
            costs = {name: contenders[name].turn(exchange) for name in names}
            if turn > 0:
                note(what, costs)
        note(what, {name: contender.peak_kib() for name, contender in contenders.items()})
    for contender in contenders.values():
        contender.end()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--rounds", type=int, default=9)
    parser.add_argument("--turns", type=int, default=20)
    parser.add_argument("program", nargs="+")
    arguments = parser.parse_args()
    programs = {program.rpartition("contender_")[2]: program for program in arguments.program}
    first = next(iter(programs))
    values = {}

    def note(what, costs):
        for name in programs:
            for quantity, value in costs[name].items():
                values.setdefault((*what, quantity, name), []).append((value, value / costs[first][quantity]))

    for _ in range(arguments.rounds):
        play_round(programs, arguments.turns, note)
    names = ("exchange", "size", "quantity", "contender", "median", "ratio")
    print(json.dumps([dict(zip(names, (*key, *map(statistics.median, zip(*pairs))))) for key, pairs in values.items()],
                     indent=1))


if __name__ == "__main__":
    main()
