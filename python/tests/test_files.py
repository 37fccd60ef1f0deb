"""Hypergraphs to and from files."""

import gzip
import io
import os
import pathlib
import pickle
import signal
import threading
import warnings

import pytest
from hypothesis import given
from hypothesis import strategies as st

import quillon
from support import built, nets_of, shapes

DATA = pathlib.Path(__file__).parents[2] / "data"


@pytest.fixture
def lesmis():
    return quillon.read(DATA / "lesmis.qhg")


@given(shapes(), st.sampled_from(["quillon", "hmetis", "kub", "hif"]))
def test_files_hold_what_was_written(shape, name):
    h = built(shape)
    file = io.BytesIO()
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")  # of weights that are not kept, and nets that readers refuse
        h.write(file, format=name)
        again = quillon.read(file.getvalue(), format=name)
    if name == "hif":  # a pin is named once
        assert [sorted(set(net)) for net in nets_of(again)] == [sorted(set(net)) for net in nets_of(h)]
    else:
        assert nets_of(again) == nets_of(h)
    assert again.cell_weights.tolist() == h.cell_weights.tolist()
    assert again.net_weights.tolist() == h.net_weights.tolist()


def test_reads_paths_files_and_bytes(lesmis, tmp_path):
    path = DATA / "lesmis.qhg"
    data = path.read_bytes()
    assert quillon.read(str(path)) == lesmis
    for contents in (data, bytearray(data), memoryview(data), gzip.compress(data)):
        assert quillon.read(contents) == lesmis
    assert quillon.read(io.BytesIO(data)) == lesmis
    assert quillon.read(io.StringIO(data.decode())) == lesmis
    with open(path, "rb") as file:
        assert quillon.read(file) == lesmis
        assert file.read() == b""
    with open(path, encoding="ascii") as file:
        assert quillon.read(file) == lesmis
    packed = tmp_path / "a.qhg.gz"
    packed.write_bytes(gzip.compress(data))
    with gzip.open(packed) as file:
        assert quillon.read(file) == lesmis


def test_reads_an_open_file_from_its_position(lesmis, tmp_path):
    path = tmp_path / "a"
    path.write_bytes(b"a line before\n" + (DATA / "lesmis.qhg").read_bytes())
    with open(path, "rb") as file:
        file.readline()
        assert quillon.read(file, format="quillon") == lesmis


def test_reads_a_pipe(lesmis):
    out, into = os.pipe()
    writer = threading.Thread(target=lambda: (os.write(into, (DATA / "lesmis.qhg").read_bytes()), os.close(into)))
    writer.start()
    with open(out, "rb") as file:
        assert quillon.read(file) == lesmis
    writer.join()


def test_a_dash_is_a_file_name(lesmis, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    lesmis.write("-")
    assert os.listdir() == ["-"]
    assert quillon.read("-") == lesmis


def test_writes_by_suffix_or_format(lesmis, tmp_path):
    lesmis.write(tmp_path / "a.hgr")
    assert (tmp_path / "a.hgr").read_text().startswith("254 77 11\n")
    with pytest.warns(UserWarning, match="does not hold"):
        lesmis.write(tmp_path / "a.hgr", format="quillon", numbering=0, weights="none")
    assert "\n0 77 254 508" in (tmp_path / "a.hgr").read_text()
    lesmis.write(tmp_path / "a.hgr.gz")
    assert gzip.open(tmp_path / "a.hgr.gz").read().startswith(b"254 77 11\n")
    assert quillon.read(tmp_path / "a.hgr.gz") == lesmis


def test_writes_whole_files_or_nothing(lesmis, tmp_path):
    with pytest.raises(quillon.Error, match="No such file or directory"):
        lesmis.write(tmp_path / "missing" / "a.hgr")
    for arguments in ({"format": "x"}, {"model": "x"}, {"weights": "x"}, {"numbering": 7}, {"format": "cnf"}):
        with pytest.raises((ValueError, quillon.Error)):
            lesmis.write(tmp_path / "a", **arguments)
    assert not list(tmp_path.iterdir())


def test_folds_small_nets_on_request():
    text = b"1 3 4 4 2\n5 1 2\n3 3\n1\n2 1\n"
    h = quillon.read(text, small_nets="fold")
    assert nets_of(h) == [[0, 1]]
    assert nets_of(quillon.read(text)) == [[0, 1], [2], [], [0]]
    assert h != quillon.from_nets([[0, 1]], num_cells=3, net_weights=[5])


def test_models_and_diagonal():
    text = b"%%MatrixMarket matrix coordinate pattern general\n2 2 2\n1 1\n1 2\n"
    assert nets_of(quillon.read(text)) == [[0, 1], []]
    assert nets_of(quillon.read(text, model="column-net")) == [[0], [0]]
    assert nets_of(quillon.read(text, diagonal=True)) == [[0, 1], [1]]
    assert nets_of(quillon.read(b"a x\na y\n", format="edges", pairs="net-cell")) == [[0, 1]]


@pytest.mark.parametrize("threads", [1, 2, 5])
def test_threads_change_nothing(threads, tmp_path):
    h = quillon.from_nets([[i, (7 * i) % 50000] for i in range(50000)])
    h.write(tmp_path / "a.hgr")
    assert quillon.read(tmp_path / "a.hgr", threads=threads) == h


def test_errors_name_their_place():
    with pytest.raises(quillon.BadFile) as info:
        quillon.read(b"1 2\n1 3\n", format="hmetis")
    error = info.value
    assert (error.rule, error.file, error.line, error.column) == ("cell-out-of-range", "<bytes>", 2, 3)
    assert error.message == 'found "3", expected a cell number from 1 to 2'
    assert str(error).startswith("<bytes>:2:3: " + error.message)
    assert isinstance(error, quillon.Error)
    assert isinstance(error, ValueError)
    again = pickle.loads(pickle.dumps(error))
    assert (str(again), again.line) == (str(error), 2)


def test_errors_name_arguments_not_options():
    for text, arguments, words in [
        (b"3 3 110\n", {"format": "hmetis"}, "is this a METIS graph? format='metis' reads those"),
        (b"%%MatrixMarket matrix coordinate pattern general\n2 3 0\n", {"diagonal": True}, "expected a square matrix to add a diagonal to"),
    ]:
        with pytest.raises(quillon.BadFile) as info:
            quillon.read(text, **arguments)
        assert words in str(info.value)


def test_errors_of_a_whole_file():
    with pytest.raises(quillon.BadFile) as info:
        quillon.read("/no/such/file.hgr")
    assert (info.value.rule, info.value.line, info.value.column) == ("cannot-open", None, None)
    assert str(info.value) == "cannot open '/no/such/file.hgr': No such file or directory"
    with pytest.raises(quillon.BadFile, match="cannot tell the format of '<bytes>'; name it by the argument format"):
        quillon.read(b"what is this")


def test_refuses_arguments_out_of_range():
    for arguments in ({"format": "x"}, {"model": "x"}, {"small_nets": "x"}, {"threads": 0}, {"pairs": "x"}):
        with pytest.raises(ValueError):
            quillon.read(b"", **arguments)
    with pytest.raises(ValueError):
        quillon.read("a\0b")
    with pytest.raises(TypeError):
        quillon.read(7)


def test_warnings_name_the_caller(lesmis):
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        lesmis.write(io.BytesIO(), format="mtx")
    assert [warning.filename for warning in caught] == [__file__, __file__]
    assert "does not hold 63 cell weights other than 1" in str(caught[0].message)
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(UserWarning):
            lesmis.write(io.BytesIO(), format="mtx")


def test_prints_nothing(capfd, lesmis):
    quillon.read(DATA / "davis.qhg", small_nets="fold")
    with pytest.raises(quillon.Error):
        lesmis.write("/no/such/folder/file")
    assert capfd.readouterr() == ("", "")


def test_memory_stays_flat_over_failing_calls(resident_bytes, tmp_path):
    bad = [b"1 2\n1 3\n", b"4 4\n", b"%\n"]
    missing = tmp_path / "missing" / "a"
    h = quillon.from_nets([[0, 1]])
    rare = [
        (quillon.Error, lambda: h.write(missing)),
        (quillon.Error, lambda: h.report(missing)),
        (quillon.BadFile, lambda: quillon.from_hif({})),
        (ValueError, lambda: h.permute([1, 1])),
        (ValueError, lambda: h.evaluate([0, 1], limits={"epsilon": -1})),
    ]

    def fail(count):
        for number in range(count):
            with pytest.raises(quillon.BadFile):
                quillon.read(bad[number % 3], format="hmetis")
            with pytest.raises(ValueError):
                quillon.from_csr([0, 2], [0, 9], 9)
            if number % 5 == 0:
                error, call = rare[number // 5 % len(rare)]
                with pytest.raises(error):
                    call()

    descriptors = len(os.listdir("/proc/self/fd"))
    fail(500)  # warms up
    before = resident_bytes()
    fail(5000)
    assert resident_bytes() - before < 2 << 20
    assert len(os.listdir("/proc/self/fd")) == descriptors


def test_a_signal_ends_a_read(tmp_path):
    out, into = os.pipe()
    stop = threading.Event()

    def feed():
        line = b"1 2 3 4 5 6 7 8 9\n" * 4096
        os.write(into, b"20000000 9\n")
        while not stop.wait(0.001):
            try:
                os.write(into, line)
            except BrokenPipeError:
                return

    feeder = threading.Thread(target=feed)
    feeder.start()
    timer = threading.Timer(0.3, lambda: os.kill(os.getpid(), signal.SIGINT))
    timer.start()
    path = f"/dev/fd/{out}"
    with pytest.raises(KeyboardInterrupt):
        quillon.read(path, format="hmetis")
    stop.set()
    os.close(out)
    feeder.join()
    os.close(into)
    assert quillon.read(b"1 2\n1 2\n", format="hmetis").num_pins == 2
