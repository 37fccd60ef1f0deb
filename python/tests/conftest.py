"""Shared inputs of the tests."""

import gc

import hypothesis
import pytest

import quillon

# The same examples in each run, and nothing written to the folder of the tests.
hypothesis.settings.register_profile("gate", derandomize=True, database=None, deadline=None, max_examples=40)
hypothesis.settings.load_profile("gate")

# Two nets that share a cell, weights, a cell without nets, a repeated pin.
NETS = [[0, 1], [1, 2, 0], [4], [], [2, 2]]
CELL_WEIGHTS = [3, 1, 0, 5, 2]
NET_WEIGHTS = [1, 7, 2, 1, 4]


@pytest.fixture
def small():
    return quillon.from_nets(NETS, num_cells=5, cell_weights=CELL_WEIGHTS, net_weights=NET_WEIGHTS)


@pytest.fixture
def resident_bytes():
    """A function that measures the memory of this process after garbage is collected."""

    def measure():
        gc.collect()
        with open("/proc/self/statm", encoding="ascii") as file:
            return int(file.read().split()[1]) * 4096

    return measure
