#pragma once
/// @file
/// The hypergraph record and every function of the module.
///
/// A hypergraph is cells (vertices) and nets (hyperedges); a net's pins are its cells. Data flows from a file
/// into a record, from its net side to its cell side, into copies, and out to files and reports.
///
/// Numbering: cells are 1 .. `_c`, nets are 1 .. `_n`. Entry 0 of an array indexed by them is never a real
/// item, the entry after the last one is a sentinel whose start pointer marks the end of the used part of the
/// pin array.
///
/// Lists: a net's pins and a cell's nets are closed ranges of one pin array each, from a start pointer to an
/// inclusive last pointer; an empty list has its last pointer one entry before its start.
///
/// Failures are fatal: a bad input, a broken invariant or an exhausted resource ends the program through
/// `errexit`. No function returns an error code, and none keeps a record or an array between calls. Not for
/// use from two threads at a time.

#include <cstdint>
#include <cstdio>

#ifdef QUILLON_SHARED_BUILD  // what is declared here is what a shared library shows
#pragma GCC visibility push(default)
#endif

namespace quillon {

static_assert(sizeof(int) == 4, "the record and its files count in 32 bits");

/// A vertex.
struct Cell {
  int w;         ///< Weight, 1 when the input carries none.
  int inw;       ///< Weight of the one-pin nets folded into the cell.
  int pno;       ///< Part number; -1 from the readers.
  int wdeg;      ///< Weighted degree: sum of the weights of its nets.
  int* nets;     ///< First entry of its net list in `_net_list`; null before the cell side is built.
  int* netsend;  ///< Last entry, inclusive; `nets - 1` for a cell without nets.
};

/// A hyperedge.
struct Net {
  int w;         ///< Weight, 1 when the input carries none.
  int* pins;     ///< First pin in `_cell_list`; null for a net that has no pin list at all.
  int* pinsend;  ///< Last pin, inclusive; `pins - 1` for a net without pins.
};

static_assert(sizeof(Cell) == 32 && sizeof(Net) == 24, "the layout that callers rely on");

/// A one-pin net that a pruning copy dropped.
struct InternalNet {
  int net;   ///< Its number in the source.
  int cell;  ///< Its only cell.
};

/// The one in-memory form of a hypergraph. It owns every array it points to.
struct Hypergraph {
  int _c;            ///< Number of cells.
  int _n;            ///< Number of nets.
  int _p;            ///< Number of pins: entries in use in each pin array.
  int _maxwcd;       ///< Largest `wdeg`, 0 where nobody computed it; see the functions that set it.
  int _maxcd;        ///< Largest cell degree (number of nets of a cell).
  int _mincd;        ///< Smallest cell degree; 2000000000 without cells.
  int _totcw;        ///< Sum of the cells' `w`.
  int _totinw;       ///< Sum of the weights of the one-pin nets folded into cells.
  int _totnw;        ///< Sum of the nets' `w`, plus `_totinw`; see the functions that set it.
  int _virtualnets;  ///< Weight (not count) of the nets without pins that a reader or pruning copy removed.
  int _fmt;          ///< Weight format: bit 1 = cells carry weights, bit 2 = nets carry weights.
  Cell* _clst;       ///< Cells, entries 0 .. `_c` + 1.
  Net* _nlst;        ///< Nets, entries 0 .. `_n` + 1.
  int* _net_list;    ///< The cells' net lists one after another, `_p` + 2 entries.
  int* _cell_list;   ///< The nets' pins one after another, `_p` + 2 entries.
  void* _aux1;       ///< The caller's; set to null by every initialiser, otherwise left alone.
  void* _aux2;       ///< As `_aux1`.
  int* _iprm;        ///< Cell permutation, entries 0 .. `_c` + 1; allocated here, used by callers.
  int* _iprmi;       ///< Its inverse, likewise.
  int* _netmap;      ///< One value a net, entries 0 .. `_n`; allocated here, used by callers.
  int* _clabel;      ///< One label a cell, entries 0 .. `_c`, or null; comes together with `_nlabel`.
  int* _nlabel;      ///< One label a net, entries 0 .. `_n`, or null.
  int _ninternets;   ///< Number of one-pin nets that a pruning copy dropped.
  InternalNet* _internets;  ///< Those nets, `_ninternets` entries in pool 0, or null.
  int* _fixedAtPart;        ///< The part each cell is fixed to, entries 0 .. `_c` + 1, or null.
  int _tag;                 ///< What was given to `create_hypergraph`, otherwise 0; never interpreted.
};

/// @name Lifecycle
/// Two regimes, never mixed on one record: arrays from the pools (`create_hypergraph_data`), released newest
/// first, or from the heap (`malloc_hypergraph`, the readers), released in any order.
/// @{

/// Takes a record from pool 0 and initialises it.
///
/// @param tag  Stored in `_tag`.
/// @return     Record with null pointers and zero summaries; `_c`, `_n`, `_p` and `_fmt` are indeterminate
///             until the caller sets them. Release it with `destroy_hypergraph`.
Hypergraph* create_hypergraph(int tag);

/// Releases a record of `create_hypergraph`, and with it every younger block of pool 0. Pool 1 is left alone.
///
/// @param h     Not to be used afterwards. Its arrays go first, by `destroy_hypergraph_data`.
/// @return      What `poolfree_upto` returns.
/// @par Errors  A record that pool 0 does not hold is fatal.
int destroy_hypergraph(Hypergraph* h);

/// Takes the arrays of a record from the pools, uncleared and sized by `_c`, `_n` and `_p`, which must be set
/// and not negative.
///
/// @param h            Gets `_clst`, `_iprm`, `_iprmi`, `_netmap` and `_nlst` in pool 0, `_cell_list` in pool
///                     1.
/// @param withNetList  Non-zero: `_net_list` as well (pool 1); zero: null.
/// @param withFixed    Non-zero: `_fixedAtPart` as well; zero: left as it is.
/// @param withLabels   Non-zero: `_nlabel` and `_clabel` as well; zero: left as they are.
/// @par Errors         A pool that cannot grow is fatal.
/// @par Memory         40 bytes a cell, 28 a net, 4 a pin, and 4 an entry of every optional array.
void create_hypergraph_data(Hypergraph* h, int withNetList, int withFixed, int withLabels);

/// Releases the arrays of `create_hypergraph_data`, and `_internets` if there is one, newest first. The
/// fields keep their now dangling values: `destroy_hypergraph` comes next.
///
/// @param h     A record of `create_hypergraph_data`. Every younger block of either pool goes too.
/// @par Errors  An array that its pool does not hold is fatal.
void destroy_hypergraph_data(Hypergraph* h);

/// Initialises a record of the caller's (counts and `_fmt` are kept) and takes `_clst`, `_nlst`, `_cell_list`
/// and `_net_list` from the heap, uncleared and sized by `_c`, `_n` and `_p`.
///
/// @param h     With counts that are set and not negative; nothing in it is released before. Release with
///              `free_hypergraph`.
/// @par Errors  Out of memory is fatal.
void malloc_hypergraph(Hypergraph* h);

/// Gives the four arrays of a heap record back and sets them to null. Nothing else is freed, the record
/// included.
///
/// @param h  A record, whose arrays are from the heap or null.
void free_hypergraph(Hypergraph* h);

/// @}
/// @name Building one side of the incidence from the other
/// Linear in cells, nets and pins, without any allocation.
/// @{

/// Builds every cell's net list, in increasing net number, from the nets' pins.
///
/// @param h     Needs the nets with their pins and room for `_p` entries in `_net_list`. Nets whose `pins` is
///              null are skipped. Also sets `wdeg` of each cell, `_maxcd`, `_mincd` (2000000000 without
///              cells) and the sentinel cell's `nets`, and sets `_maxwcd` to 0. Pins must lie in 1 .. `_c`.
/// @param work  Out, `_c` + 1 ints of the caller's: the degree of each cell; entry 0 becomes 0.
/// @return      0.
int construct_net_list(Hypergraph* h, int* work);

/// Builds every net's pin list, in increasing cell number, from the cells' net lists.
///
/// @param h     Needs the `nets` and `netsend` of every cell and room for `_p` entries in `_cell_list`. Also
///              sets the sentinel net's `pins`; no weight or summary is touched. Nets named must lie in 1 ..
///              `_n`.
/// @param work  Out, `_n` + 1 ints of the caller's: the size of each net; entry 0 becomes 0.
/// @return      0.
int construct_cell_list(Hypergraph* h, int* work);

/// Sorts each net's pins into increasing cell number, in place. The cell side is not touched.
///
/// @param h    Needs its nets. Those whose `pins` is null are skipped.
/// @par Cost   O(s log s) for a net of s pins, on top of O(`_n`).
void SortPins(Hypergraph* h);

/// @}
/// @name Summary values
/// Sums are of 32 bits and wrap.
/// @{

/// Recomputes what the cells tell: `wdeg` of each cell, `_maxwcd` (1 at least), `_maxcd`, `_mincd`, `_totcw`,
/// and `_fmt`, which becomes 1 when some cell weighs 2 or more and 0 otherwise (the nets' bit is not kept).
///
/// @param h  Needs both sides built. Every cell's `inw` becomes 0, while `_totinw`, `_totnw`, `_virtualnets`
///           and the nets stay: verify a record with `CheckListsofHypergraph` before this, not after.
/// @par Cost O(cells, nets and pins), no allocation.
void set_hypergraph_infos(Hypergraph* h);

/// Sets the weight of every net and cell to 1, and `_totcw` to `_c`. Nothing else follows until
/// `set_hypergraph_infos` is run.
///
/// @param h  Needs its cells and nets. `_totnw`, `_totinw`, `_virtualnets`, `_fmt` and every `inw` stay.
void clear_weights(Hypergraph* h);

/// Renders the summary as two lines of text, with a line end before, between and after them.
///
/// @param h  Read only: its counts and summaries, and no array.
/// @return   A static buffer of the library's that the next call overwrites.
char* HygrInfo(const Hypergraph* h);

/// @}
/// @name Reading the text format
/// Comment lines begin with "%". The first other line is the header: numbering (0 or 1, the number of the
/// first cell), how many cells, nets and pins there are and, if wanted, fmt (bit 1: cell weights follow the
/// nets; bit 2: each net line begins with the net's weight) and the number of weights a cell has, of which
/// the first counts. Then one line of cell numbers a net, then the cell weights in any number of lines.
///
/// Numbers are read as strtol does in base 10 with 64 bits, and keep their low 32. Every line, the last one
/// too, must end with a line end: what follows the last one is not read. A line may hold 16 MiB or as many
/// bytes as there are pins, whichever is more, less 6.
/// @{

/// Reads a hypergraph and removes the nets with fewer than two pins: a net with one pin adds its weight to
/// that cell's `inw` and to `_totinw`, a net without pins to `_virtualnets`.
///
/// @param h      Overwritten, nothing in it is released before. Gets the net side only, from the heap:
///               `_clst`, `_nlst` and `_cell_list` (with room for what the header announces). `_net_list` and
///               the cells' lists stay null: give it a `_net_list` of `_p` + 2 ints, then call
///               `construct_net_list`. Release with `free_hypergraph`.
/// @param ifp    Stream, left right behind the last line needed.
/// @param check  Non-zero: warn about a cell named twice on a net (the pin is kept; also drawn by the cell of
///               a removed net when the next net names it) and about missing cell weights (they become 1).
/// @return       Number of nets removed.
/// @par Errors   A header that is incomplete, out of range or with counts that no record can have; a cell
///               number outside 1 .. `_c` after the numbering; a pinless net of weight 2 or more; a number
///               of pins other than announced; a net or weight line too long; a byte of value 0 in a line of
///               cell weights. All fatal.
/// @par Hangs    When the input ends in a comment line while a net or weight line is still due, this never
///               returns. The rest of a header line beyond 16777215 bytes is a line of its own.
/// @par Cost     One pass over the input, everything allocated before the first net.
int read_hypergraphFromFile(Hypergraph* h, std::FILE* ifp, int check);

/// `read_hypergraphFromFile` on a named file.
///
/// @param h         As there.
/// @param filename  File to read. One that cannot be opened is fatal.
/// @param check     As there.
/// @return          Number of nets removed.
int read_hypergraph(Hypergraph* h, const char* filename, int check);

/// Reads a hypergraph as `read_hypergraphFromFile` does, but keeps every net as the file gives it.
///
/// @param h      As there; `_totinw` and `_virtualnets` stay 0, `_totnw` counts every net.
/// @param ifp    As there.
/// @param check  As there.
/// @return       0.
/// @par Errors   As there, but pinless nets may have any weight, and a last line of cell weights without its
///               line end is fatal also when it is the end of the file.
/// @par Hangs    As there.
int read_hypergraph_with_onepin_netsFromFile(Hypergraph* h, std::FILE* ifp, int check);

/// `read_hypergraph_with_onepin_netsFromFile` on a named file.
///
/// @param h         As there.
/// @param filename  File to read. One that cannot be opened is fatal.
/// @param check     As there.
/// @return          1.
int read_hypergraph_with_onepin_nets(Hypergraph* h, const char* filename, int check);

/// @}
/// @name Writing the text format
/// @{

/// Writes a hypergraph in the format that the readers read, and behind the data a block of statistics for
/// people.
///
/// @param h          Needs both sides: cell degrees come from the cells' lists, and a cell without a list
///                   built counts as degree 1. Its `_fmt` is not asked.
/// @param ofp        Stream, neither flushed nor closed; whether all arrived is for the caller to ask.
/// @param numbering  The file's number of the first cell: 0 or 1.
/// @param fmt        Weights to write: bit 1 = cells, bit 2 = nets.
/// @return           0.
/// @par Errors       Another fmt or numbering is fatal, before anything is written.
int write_hypergraph2File(const Hypergraph* h, std::FILE* ofp, int numbering, int fmt);

/// `write_hypergraph2File` to a named file, which is created or replaced.
///
/// @param h          As there.
/// @param filename   File to write.
/// @param numbering  As there.
/// @param fmt        As there; it and the numbering are looked at after the file has been opened.
/// @return           0.
/// @par Errors       A file that cannot be opened, and data that did not arrive, are fatal as well.
int write_hypergraph(const Hypergraph* h, const char* filename, int numbering, int fmt);

/// @}
/// @name Net arrays
/// The nets in compressed rows, as sparse-matrix code has them: the pins of net j (1 .. n) are nadj[xnadj[j]]
/// .. nadj[xnadj[j + 1] - 1], cell numbers from 1. `xnadj` has n + 2 entries, of which entry 0 is not used;
/// `nadj` has two entries more than pins. Weights are not part of it.
/// @{

/// Exports the nets of a hypergraph.
///
/// @param h      Read only; needs its nets, and `_p` to be the number of their pins at least.
/// @param xnadj  Out: an array of `_n` + 2 ints, the caller's to give back with `_usfree`.
/// @param nadj   Out: an array of `_p` + 2 ints, likewise.
/// @par Errors   Out of memory is fatal.
void hypergraph_Fill2Arr(const Hypergraph* h, int** xnadj, int** nadj);

/// Builds a hypergraph from net arrays, both sides, with weights of 1.
///
/// @param h         Overwritten but for `_fmt`, nothing in it is released before. The totals are 0: see
///                  `set_hypergraph_infos`. Of the cells only `w`, `wdeg` and the lists are set. Release with
///                  `free_hypergraph`.
/// @param nnets     Number of nets, not negative.
/// @param ncells    Number of cells, not negative.
/// @param xnadj     Read only, not decreasing; `xnadj[1]` need not be 0.
/// @param nadj      Read only, cell numbers in 1 .. `ncells`.
/// @param diagonal  Null, or a mark for each net, entries 1 .. `nnets`: 0 adds cell j to net j, if there is a
///                  cell j.
/// @par Errors      More than 2^31 - 1 pins with all of the diagonal are fatal.
/// @par Memory      Takes `ncells` + 2 ints from the heap and gives them back.
void hypergraph_LoadFromArr(Hypergraph* h, int nnets, int ncells, const int* xnadj, const int* nadj,
                            const int* diagonal);

/// Reads net arrays from a file in the text format. Net weights are skipped, cell weights not reached.
///
/// A net line that is missing at the end of the file counts as the line before once more, and a last line
/// without its line end counts. Cell numbers are not compared with the number of cells.
///
/// @param filename  File to read.
/// @param ncells    Out: the header's number of cells, as it stands.
/// @param nnets     Out: the header's number of nets, as it stands.
/// @param xnadj     Out: where each net begins, the caller's to give back with `_usfree`.
/// @param nadj      Out: the cell numbers, likewise.
/// @par Errors      A file that cannot be opened, a header that is incomplete or out of range, a line too
///                  long, a number of pins other than announced. All fatal.
/// @par Hangs       When the file ends in a comment line while a net line is still due, this never returns.
void read_hypergraph_netar(const char* filename, int* ncells, int* nnets, int** xnadj, int** nadj);

/// @}
/// @name Formats of other programs
/// @{

/// Writes the hMETIS format with net and cell weights (code 11), cells numbered from 1.
///
/// @param h         Read only; needs its nets, and the cells' `w`.
/// @param filename  File to write, created or replaced.
/// @return          0.
/// @par Errors      A file that cannot be opened, and data that did not arrive, are fatal.
int write_hmetis_hypergraph(const Hypergraph* h, const char* filename);

/// Writes the kub format: number of cells, number of nets, a line of weight, size and cells (from 0) for each
/// net, the cell weights. Closes with fclose: whether all of it arrived is not asked.
///
/// @param h         Read only; needs its nets, and the cells' `w`.
/// @param filename  File to write, created or replaced.
/// @return          0.
/// @par Errors      A file that cannot be opened is fatal.
int write_kub_hypergraph(const Hypergraph* h, const char* filename);

/// @}
/// @name Partition vectors
/// One part number a cell, in order of the cells, each followed by a blank, 100 on a line. Part numbers are
/// written as they stand.
/// @{

/// Writes the `pno` of every cell.
///
/// @param h         Read only.
/// @param filename  File to write, created or replaced.
/// @par Errors      A file that cannot be opened, and data that did not arrive, are fatal.
void write_part_info(const Hypergraph* h, const char* filename);

/// Writes entries 1 .. n of an array.
///
/// @param n         Number of cells; 0 or less makes an empty file.
/// @param partvec   Read only, n + 1 ints; entry 0 is not looked at.
/// @param filename  File to write, created or replaced.
/// @par Errors      A file that cannot be opened, and data that did not arrive, are fatal.
void write_partvec(int n, const int* partvec, const char* filename);

/// Reads the `pno` of every cell with `read_array`: any white space between the numbers, and no limit on
/// them.
///
/// @param h         Gets the `pno` of cells 1 .. `_c`; nothing else is touched.
/// @param filename  File to read.
/// @par Errors      As of `read_array`: too few numbers, or something else than a number, are fatal.
/// @par Memory      Takes `_c` + 1 ints from the heap and gives them back.
void read_part_info(Hypergraph* h, const char* filename);

/// @}
/// @name Copies and renumbering
/// Linear in cells, nets and pins.
/// @{

/// Makes a duplicate with four heap arrays of its own, in which the lists stand one after another without
/// gaps.
///
/// @param nh  Overwritten, nothing in it is released before. `_maxwcd`, `_maxcd` and `_mincd` become 0, the
///            optional arrays and `_internets` null, `_tag` 0; `_ninternets` is kept. Its sentinel net has
///            the end of the pins in `pinsend`, not in `pins`. Release with `free_hypergraph`.
/// @param h   Read only, both sides built.
/// @return    0.
int CopyHypergraph(Hypergraph* nh, const Hypergraph* h);

/// Copies a hypergraph without its nets of fewer than two pins, and with its nets of `maxsize` pins or more
/// set aside.
///
/// Of the m nets with two pins or more, k are kept as nets 1 .. k of the copy. The others follow as nets k +
/// 1 .. m, beyond the copy's `_n`, in `_nlst` and `_cell_list`; in each cell's region of `_net_list` they
/// stand behind `netsend`, and `_p` and `_totnw` do not count them. Cells keep their numbers.
///
/// @param h         Read only; needs its nets, and the cells' `w`, `inw` and `pno`.
/// @param nh        Owns `_clst`, `_nlst`, `_cell_list`, `_net_list`, `_clabel` and `_nlabel` of the source's
///                  sizes. `_nlabel` gets the source number of each net, `_clabel` that of each cell.
/// @param netorder  Out, source `_n` + 1 ints: entry i is the source number of copy net i, for i = 1 .. m;
///                  the pruned nets follow. Entry 0 is left alone.
/// @param celldeg   Out, source `_c` + 1 ints: number of copied nets on each cell, set-aside ones included.
/// @param cellend   Out, source `_c` + 1 pointers: where the set-aside nets of each cell begin.
/// @param maxsize   In pins.
/// @param nmulti    Out: m.
/// @param mode      2: account for the pruned nets. One-pin nets become pairs in `_internets`, a block of
///                  pool 0 taken even when there are none, and their weight goes to `inw` of the cell and to
///                  `_totinw`; the weight of pinless ones moves from `_totnw` to `_virtualnets`. Otherwise
///                  `_internets` is null. `_ninternets` counts the one-pin nets either way, and `_p` does
///                  not.
/// @return          0.
int CopyConsHypergraph(const Hypergraph* h, Hypergraph* nh, int* netorder, int* celldeg, int** cellend,
                       int maxsize, int* nmulti, int mode);

/// `CopyConsHypergraph` with nets and cells in random order and each net's pins in random order.
///
/// The weights of set-aside nets stay in `_totnw`. A pair in `_internets` names the copy's number of the
/// cell, while the weight goes to the copy's cell that has the source's number.
///
/// @param h         The pins of nets with two pins or more change their order, the rest stays. The cells'
///                  lists, which have no order of pins, remain right.
/// @param nh        As there.
/// @param netorder  As there.
/// @param cellperm  Out, source `_c` + 1 ints: the copy's number of each source cell; `_clabel` is its
///                  inverse. Entry 0 is left alone.
/// @param celldeg   As there, by the copy's cell numbers.
/// @param cellend   As there, by the copy's cell numbers.
/// @param maxsize   As there.
/// @param nmulti    As there.
/// @param mode      As there.
/// @return          0.
/// @par Draws       `PermuteInPlace` of the net order, then of the cells, then for each copied net
///                  `uRandom(r)` for r from its size down to 1.
int CopyPermConsHypergraph(Hypergraph* h, Hypergraph* nh, int* netorder, int* cellperm, int* celldeg,
                           int** cellend, int maxsize, int* nmulti, int mode);

/// Copies a hypergraph in a new order of nets and cells. Pins keep their order within a net.
///
/// @param h         Read only; needs its nets, and the cells' `w`, `inw` and `pno`.
/// @param nh        Owns `_clst`, `_nlst`, `_cell_list` and `_net_list` of the source's sizes. `_maxwcd`
///                  becomes 0.
/// @param netperm   Entries 1 .. `_n`: the old number of each new net, each number once.
/// @param cellperm  Entries 1 .. `_c`: the old number of each new cell, each number once. Serves as work
///                  array: comes back with the degrees of the new cells. May be the same array as `netperm`.
/// @return          0.
/// @par Memory      Takes `_c` + 2 ints from the heap and gives them back.
int PermuteHypergraph(const Hypergraph* h, Hypergraph* nh, const int* netperm, int* cellperm);

/// Renumbers a hypergraph with as many cells as nets by part: the cells of the first part come first, then
/// those of the next, in their old order within a part, and net i stays the partner of cell i.
///
/// @param h     Read only; as for `PermuteHypergraph`, and as many cells as nets.
/// @param k     Number of parts; every `pno` lies in 0 .. k - 1.
/// @param nh    As for `PermuteHypergraph`.
/// @par Errors  Different numbers of cells and nets are fatal.
/// @par Memory  Takes k + 2 `_c` + 4 ints from the heap and gives them back.
void SymmetricPermute(const Hypergraph* h, int k, Hypergraph* nh);

/// @}
/// @name Statistics
/// Both recompute every figure from the cells and nets of a record with both sides built, but for the
/// averages, which are of `_p`, and end the program when the sum of the cells' weights is not `_totcw`.
/// Averages over no cells or no nets are what the division by zero gives.
/// @{

/// Prints one line of 21 tab-separated fields to standard output: cells, nets, pins; average, standard
/// deviation and coefficient of variation of the cell degree, its smallest value above 0, number of cells of
/// degree 0, its largest value; the same six of the net size; smallest, largest and total cell weight; the
/// same of net weight.
///
/// @param h  Read only.
void prinfo_hypergraph(const Hypergraph* h);

/// Prints a report with the distributions of cell degree and net size through `uprintf`.
///
/// The smallest degree and size count zeros here. Takes two heap arrays of largest degree + 1 and largest
/// size + 1 ints and does not give them back.
///
/// @param h  Read only.
void pr_detailinfo_hypergraph(const Hypergraph* h);

/// @}
/// @name Consistency checks
/// They end the program at the first broken rule; nothing is changed or allocated. A pin costs a scan of
/// the list that should name it back, unless a short look shows that it is in its place.
/// @{

/// Verifies that both sides name each other exactly once, that each holds `_p` pins, and the totals of
/// weights.
///
/// The net weights are compared with `_totnw` only when the sum of `inw` is not `_totinw`. Nets without pins
/// that carry weight draw a warning. Prints a line before and after through `uprintf`.
///
/// @param h     Read only; needs both sides built, and the totals of a reader or a copy. Entries may be any
///              numbers: those beyond the spare cells and nets name nothing back.
/// @par Errors  The first entry that is not named back exactly once, another number of pins or another sum
///              of weights than the record says: each is fatal with a message of its own.
void CheckListsofHypergraph(const Hypergraph* h);

/// Verifies that both sides name each other exactly once, each list taken to end where the next one starts.
///
/// @param h      Start pointers of the sentinels must be set. Entries must be real cells and nets.
/// @param nnets  Nets 1 .. nnets are examined; may exceed `_n` for a pruning copy with set-aside nets.
void CheckListsofContinuesHypergraph(const Hypergraph* h, int nnets);

/// Decides whether there are as many cells as nets, for every i cell i lists as many numbers as net i, and
/// each of them is in net i's list.
///
/// @param h        Read only; needs both sides built. Entries must be real cells and nets.
/// @param verbose  Non-zero: print what is examined and why the answer is no.
/// @return         1 for symmetric, 0 for not.
/// @par Errors     Where the lists of i are of equal length, a number of cell i's that net i does not list is
///                 fatal, after both lists are printed; so is one that net i lists more than once.
int CheckSymmetryinHypergraph(const Hypergraph* h, int verbose);

/// @}
/// @name Dumps
/// Text for people, through `uprintf`. Both sides must be built, their entries be real cells and nets.
/// @{

/// Prints the pins of net j with their part numbers and weights.
///
/// @param h  Read only.
/// @param j  A net, 1 .. `_n`; of a pruning copy also one of those set aside.
void PrintPins(const Hypergraph* h, int j);

/// Prints the nets of cell i with their weights.
///
/// @param h  Read only.
/// @param i  A cell, 1 .. `_c`.
void PrintNets(const Hypergraph* h, int i);

/// Prints the whole hypergraph, both sides.
///
/// @param h  Read only.
void PrintHypergraph(const Hypergraph* h);

/// @}

}  // namespace quillon

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
