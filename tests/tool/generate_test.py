"""Compares generated hypergraphs with those of a second program, written from docs/generate.md alone.

    generate_test.py TOOL
"""

import os
import subprocess
import sys
import tempfile
from fractions import Fraction

MASK = 2**64 - 1
STEP = 0x9E3779B97F4A7C15
SIZE, PINS, CELL_WEIGHT, NET_WEIGHT, CELL_ORDER, NET_ORDER, STUB_ORDER = range(1, 8)


def mixed(x):
    x = (x ^ x >> 30) * 0xBF58476D1CE4E5B9 & MASK
    x = (x ^ x >> 27) * 0x94D049BB133111EB & MASK
    return x ^ x >> 31


def key(seed, purpose, item):
    return mixed(mixed(mixed(seed) ^ purpose) ^ item)


class Stream:
    def __init__(self, seed, purpose, item):
        self.state = key(seed, purpose, item)

    def below(self, bound):
        self.state = self.state + STEP & MASK
        return mixed(self.state) * bound >> 64


def order(seed, purpose, count):
    """The random order of 0 .. count - 1, as a list."""
    bits = (count - 1).bit_length()
    low_bits = max((bits + 1) // 2, 1)
    high_bits = max(bits - low_bits, 1)

    def turned(value):
        for k in range(8):
            low, high = value % 2**low_bits, value >> low_bits
            if k % 2 == 0:
                high ^= mixed(key(seed, purpose, k) + low & MASK) >> 64 - high_bits
            else:
                low ^= mixed(key(seed, purpose, k) + high & MASK) >> 64 - low_bits
            value = high << low_bits | low
        return value

    numbers = []
    for place in range(count):
        number = turned(place)
        while number >= count:
            number = turned(number)
        numbers.append(number)
    return numbers


ONE = 2**31


def roots():
    found, last = [], ONE // 2
    for _ in range(31):
        square = last * ONE
        last = int(square**0.5)
        while last * last > square:
            last -= 1
        while (last + 1) ** 2 <= square:
            last += 1
        found.append(last)
    return found


ROOTS = roots()


def log2(value):
    log = value.bit_length() - 1
    x = value * ONE >> log
    for _ in range(31):
        x = x * x >> 31
        log *= 2
        if x >= 2 * ONE:
            log, x = log + 1, x >> 1
    return log


def inverse_power(exponent):
    factor = ONE
    for k in range(31):
        if exponent >> 30 - k & 1:
            factor = factor * ROOTS[k] >> 31
    return factor >> (exponent >> 31)


def power_law(thousandths, first, last):
    return [
        (k, k, chance)
        for k in range(first, last + 1)
        if (chance := inverse_power((log2(k) - log2(first)) * thousandths // 1000)) > 0
    ]


def growing_law(count, thousandths):
    return [(k, k, inverse_power(((count - 1 - k) * thousandths * ONE) // 1000)) for k in range(count)]


def draw(stream, law):
    step = 0
    if len(law) > 1:
        point = stream.below(sum(chance for _, _, chance in law))
        while point >= law[step][2]:
            point -= law[step][2]
            step += 1
    first, last, _ = law[step]
    return first if first == last else first + stream.below(last - first + 1)


class Kind:
    """Nets of a kind; `law` is that of the sizes."""

    def __init__(self, ncells, nnets, law, seed):
        self.ncells, self.nnets, self.law, self.seed = ncells, nnets, law, seed

    def size(self, j):
        return draw(Stream(self.seed, SIZE, j), self.law)

    def nets(self):
        return [self.net(j, self.size(j), Stream(self.seed, PINS, j)) for j in range(1, self.nnets + 1)]

    @staticmethod
    def different(size, another):
        net = []
        while len(net) < size:
            cell = another()
            if cell not in net:
                net.append(cell)
        return net


class Random(Kind):
    def net(self, j, size, stream):
        return self.different(size, lambda: 1 + stream.below(self.ncells))


class Local(Kind):
    reach = 7

    def net(self, j, size, stream):
        window = min(2 * self.reach + 1, self.ncells)
        middle = (j - 1) * self.ncells // self.nnets + 1
        first = max(1, min(middle - self.reach, self.ncells - window + 1))
        return self.different(size, lambda: first + stream.below(window))


class Planted(Kind):
    nparts, ncut = 3, 9

    def nets(self):
        self.cells = order(self.seed, CELL_ORDER, self.ncells)
        self.places = order(self.seed, NET_ORDER, self.nnets)
        self.begins = [p * self.ncells // self.nparts for p in range(self.nparts + 1)]
        return super().nets()

    def part(self, cell):
        place = self.cells.index(cell - 1)
        return max(p for p in range(self.nparts) if self.begins[p] <= place)

    def net(self, j, size, stream):
        if self.places[j - 1] >= self.ncut:
            part = stream.below(self.nparts)
            begin, end = self.begins[part : part + 2]
            return self.different(size, lambda: self.cells[begin + stream.below(end - begin)] + 1)
        net = self.different(size, lambda: self.cells[stream.below(self.ncells)] + 1)
        if len({self.part(cell) for cell in net}) == 1:
            begin, end = self.begins[self.part(net[0]) : self.part(net[0]) + 2]
            place = stream.below(self.ncells - (end - begin))
            net[-1] = self.cells[place if place < begin else place + end - begin] + 1
        return net


class Netlist(Kind):
    rent = 600

    def net(self, j, size, stream):
        if size == 1:
            return [1 + stream.below(self.ncells)]
        depth = draw(stream, growing_law(max(1, self.ncells.bit_length() - 1), 1000 - self.rent))
        block = stream.below(2**depth)
        while (block + 1) * self.ncells // 2**depth - block * self.ncells // 2**depth < size:
            depth, block = depth - 1, block // 2
        begin, end = block * self.ncells // 2**depth, (block + 1) * self.ncells // 2**depth
        middle = (2 * block + 1) * self.ncells // 2 ** (depth + 1)
        net = self.different(size, lambda: begin + 1 + stream.below(end - begin))
        if max(net) <= middle:
            net[-1] = middle + stream.below(end - middle) + 1
        elif min(net) > middle:
            net[-1] = begin + stream.below(middle - begin) + 1
        return net


class Powerlaw(Kind):
    degrees = (2500, 1, 20)

    def nets(self):
        law = power_law(*self.degrees)
        total = sum(chance for _, _, chance in law)
        stubs, given, below = [], 0, 0
        for degree, _, chance in law:
            below += chance
            due = int(Fraction(below * self.ncells, total) + Fraction(1, 2))
            for rank in range(given, due):
                stubs += [rank] * degree
            given = due
        self.stubs = stubs
        self.cells = order(self.seed, CELL_ORDER, self.ncells)
        self.npins = sum(self.size(j) for j in range(1, self.nnets + 1))
        self.places = iter(order(self.seed, STUB_ORDER, self.npins))
        return super().nets()

    def rank(self, pin):
        return self.stubs[pin * len(self.stubs) // self.npins]

    def net(self, j, size, stream):
        net = []
        for _ in range(size):
            rank, ntries = self.rank(next(self.places)), 0
            while self.cells[rank] + 1 in net:
                rank = self.rank(stream.below(self.npins)) if ntries < 64 else (rank + 1) % self.ncells
                ntries += 1
            net.append(self.cells[rank] + 1)
        return net


CASES = [
    (Random(50, 200, [(2, 9, 1)], 0), "random --size 2..9"),
    (Random(10, 40, [(2, 2, 60), (3, 9, 40)], 1), "random --size 2=60,3..9=40"),
    (Random(30, 60, power_law(2300, 2, 25), 2**63 + 5), "random --size power:2.3:2..25"),
    (Local(100, 77, [(2, 14, 1)], 3), "local --size 2..14 --reach 7"),
    (Local(9, 30, [(3, 3, 1)], 4), "local --size 3 --reach 7"),
    (Planted(31, 40, [(2, 5, 1)], 5), "planted --size 2..5 --parts-count 3 --cut-nets 9"),
    (Planted(300, 9, [(2, 2, 1)], 6), "planted --size 2 --parts-count 3 --cut-nets 9"),
    (Netlist(1000, 500, [(1, 6, 1)], 7), "netlist --size 1..6 --rent 0.6"),
    (Netlist(13, 50, [(2, 13, 1)], 8), "netlist --size 2..13 --rent 0.6"),
    (Powerlaw(60, 80, [(2, 8, 1)], 9), "powerlaw --size 2..8 --degree power:2.5:1..20"),
    (Powerlaw(12, 40, [(9, 12, 1)], 10), "powerlaw --size 9..12 --degree power:2.5:1..20"),
]


def weights(seed, purpose, count, law):
    return [draw(Stream(seed, purpose, k), law) for k in range(1, count + 1)]


def compare(tool, kind, options):
    line = f"{tool} generate {options} --cells {kind.ncells} --nets {kind.nnets} --seed {kind.seed} -o - --to kub"
    line += " --cell-weights 1..9 --net-weights power:1:1..50"
    rows = [list(map(int, row.split())) for row in subprocess.check_output(line.split(), text=True).splitlines()]
    net_weights = weights(kind.seed, NET_WEIGHT, kind.nnets, power_law(1000, 1, 50))
    expected = [[kind.ncells], [kind.nnets]]
    for weight, net in zip(net_weights, kind.nets()):
        expected.append([weight, len(net)] + [cell - 1 for cell in net])
    expected += [[weight] for weight in weights(kind.seed, CELL_WEIGHT, kind.ncells, [(1, 9, 1)])]
    if rows == expected:
        return True
    for number, (row, wanted) in enumerate(zip(rows, expected), 1):
        if row != wanted:
            print(f"{line}: line {number} is {row}, expected {wanted}")
            break
    else:
        print(f"{line}: {len(rows)} lines, expected {len(expected)}")
    return False


def compare_parts(tool):
    kind = Planted(31, 40, [(2, 5, 1)], 5)
    kind.nets()
    with tempfile.TemporaryDirectory() as folder:
        parts = os.path.join(folder, "parts")
        options = "--cells 31 --nets 40 --size 2..5 --parts-count 3 --cut-nets 9 --seed 5 --to kub -o /dev/null"
        subprocess.check_call([tool, "generate", "planted", *options.split(), "--parts", parts])
        with open(parts, encoding="ascii") as file:
            found = [int(line) for line in file]
    expected = [kind.part(cell) for cell in range(1, 32)]
    if found != expected:
        print(f"parts are {found}, expected {expected}")
    return found == expected


def main():
    tool = sys.argv[1]
    results = [compare(tool, kind, options) for kind, options in CASES] + [compare_parts(tool)]
    print(f"{sum(results)} of {len(results)} cases agree")
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
