"""Random hypergraphs, and the slow way to their figures."""

from hypothesis import strategies as st

import quillon


@st.composite
def shapes(draw, most_cells=8, most_nets=8, weights=st.integers(0, 9)):
    """Nets as lists, the number of cells, and weights of cells and nets, or None."""
    ncells = draw(st.integers(0, most_cells))
    net = st.lists(st.integers(0, ncells - 1), max_size=6) if ncells else st.just([])
    nets = draw(st.lists(net, max_size=most_nets))
    cell_weights = draw(st.none() | st.lists(weights, min_size=ncells, max_size=ncells))
    net_weights = draw(st.none() | st.lists(weights, min_size=len(nets), max_size=len(nets)))
    return nets, ncells, cell_weights, net_weights


def built(shape):
    return quillon.from_nets(*shape)


def nets_of(h):
    return [h.net_pins[h.net_offsets[j] : h.net_offsets[j + 1]].tolist() for j in range(h.num_nets)]


def nets_of_cells(nets, ncells):
    """By cell: its nets in increasing order, one for each pin."""
    found = [[] for _ in range(ncells)]
    for j, pins in enumerate(nets):
        for i in pins:
            found[i].append(j)
    return found
