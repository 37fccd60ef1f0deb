#pragma once
/// @file
/// The hypergraph record and every function of the module.
///
/// A hypergraph is cells (vertices) and nets (hyperedges); a net's pins are its cells. Data flows from a file
/// into a record, from its net side to its cell side, into copies, and out to files and reports.
///
/// Numbering: cells are 1 .. `_c`, nets are 1 .. `_n`. Entry 0 of an array indexed by them is not an item;
/// the entry after the last item is a sentinel, whose start pointer marks the end of the used part of the pin
/// array.
///
/// Lists: a net's pins and a cell's nets are closed ranges of one pin array each, from a start pointer to a
/// last pointer, inclusive; the last pointer of an empty list is one entry before its start. A start of null
/// means that there is no list:
///
/// | without a list | entries | size or degree | in checks |
/// |---|---|---|---|
/// | net | none | 0 | 0 |
/// | cell (both pointers null) | none | 1: the difference of its pointers | 0 |
///
/// Failures are fatal: a bad input, a broken invariant or an exhausted resource ends the program through
/// `errexit`. No function returns an error code, and none keeps a pointer to a record or an array between
/// calls. Not for use from two threads at a time.

#include <cstdint>
#include <cstdio>

#ifdef QUILLON_SHARED_BUILD  // a shared library exports these declarations only
#pragma GCC visibility push(default)
#endif

namespace quillon {

static_assert(sizeof(int) == 4, "the record and its files count in 32 bits");

/// A vertex.
struct Cell {
  int w;         ///< Weight, 1 if the input has none.
  int inw;       ///< Weight of the one-pin nets folded into the cell.
  int pno;       ///< Part number; -1 from the readers.
  int wdeg;      ///< Weighted degree: sum of the weights of its nets.
  int* nets;     ///< First entry of its net list in `_net_list`; null before the cell side is built.
  int* netsend;  ///< Last entry, inclusive; `nets - 1` for a cell without nets.
};

/// A hyperedge.
struct Net {
  int w;         ///< Weight, 1 if the input has none.
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
  int _maxwcd;       ///< Largest `wdeg`, 0 if not computed; see the functions that set it.
  int _maxcd;        ///< Largest cell degree (number of nets of a cell).
  int _mincd;        ///< Smallest cell degree; 2000000000 if there are no cells.
  int _totcw;        ///< Sum of the cells' `w`.
  int _totinw;       ///< Sum of the weights of the one-pin nets folded into cells.
  int _totnw;        ///< Sum of the nets' `w`, plus `_totinw`; see the functions that set it.
  int _virtualnets;  ///< Weight (not count) of the nets without pins that a reader or pruning copy removed.
  int _fmt;          ///< Weight format: bit 1 = cells have weights, bit 2 = nets have weights.
  Cell* _clst;       ///< Cells, entries 0 .. `_c` + 1.
  Net* _nlst;        ///< Nets, entries 0 .. `_n` + 1.
  int* _net_list;    ///< The cells' net lists one after another, `_p` + 2 entries.
  int* _cell_list;   ///< The nets' pins one after another, `_p` + 2 entries.
  void* _aux1;       ///< For the caller; set to null by every initialiser, otherwise left alone.
  void* _aux2;       ///< As `_aux1`.
  int* _iprm;        ///< Cell permutation, entries 0 .. `_c` + 1; allocated here, used by callers.
  int* _iprmi;       ///< Its inverse, likewise.
  int* _netmap;      ///< One value per net, entries 0 .. `_n`; allocated here, used by callers.
  int* _clabel;      ///< One label per cell, entries 0 .. `_c`, or null together with `_nlabel`.
  int* _nlabel;      ///< One label per net, entries 0 .. `_n`, or null.
  int _ninternets;   ///< Number of one-pin nets that a pruning copy dropped.
  InternalNet* _internets;  ///< These nets, `_ninternets` entries in pool 0, or null.
  int* _fixedAtPart;        ///< The part that each cell is fixed to, entries 0 .. `_c` + 1, or null.
  int _tag;                 ///< The argument of `create_hypergraph`, otherwise 0; never interpreted.
};

/// @name Lifecycle
/// The arrays of a record are either in the pools (`create_hypergraph_data`), released newest first, or on
/// the heap (`malloc_hypergraph`, the readers), released in any order.
/// @{

/// Allocates a record in pool 0 and initialises it.
///
/// @param tag  Stored in `_tag`.
/// @return     A record with null pointers and zero summaries; `_c`, `_n`, `_p` and `_fmt` are indeterminate
///             until the caller sets them. Release it with `destroy_hypergraph`.
Hypergraph* create_hypergraph(int tag);

/// Releases a record of `create_hypergraph` and every younger block of pool 0. Pool 1 is left alone.
///
/// @param h     Not to be used afterwards. Release its arrays first, with `destroy_hypergraph_data`.
/// @return      The result of `poolfree_upto`.
/// @par Errors  A record that is not in pool 0 is fatal.
int destroy_hypergraph(Hypergraph* h);

/// Allocates the arrays of a record in the pools, uncleared, of the sizes that follow from `_c`, `_n` and
/// `_p`, which must be set and not negative.
///
/// @param h            Gets `_clst`, `_iprm`, `_iprmi`, `_netmap` and `_nlst` in pool 0, `_cell_list` in pool
///                     1.
/// @param withNetList  Non-zero: `_net_list` as well (pool 1); zero: null.
/// @param withFixed    Non-zero: `_fixedAtPart` as well; zero: left as it is.
/// @param withLabels   Non-zero: `_nlabel` and `_clabel` as well; zero: left as they are.
/// @par Errors         A pool that cannot grow is fatal.
/// @par Memory         40 bytes per cell, 28 per net, 4 per pin, and 4 per entry of each optional array.
void create_hypergraph_data(Hypergraph* h, int withNetList, int withFixed, int withLabels);

/// Releases the arrays of `create_hypergraph_data`, and `_internets` if not null, newest first, and every
/// younger block of either pool. The pointers are left dangling: call `destroy_hypergraph` next.
///
/// @param h     A record of `create_hypergraph_data`.
/// @par Errors  An array that is not in its pool is fatal.
void destroy_hypergraph_data(Hypergraph* h);

/// Initialises a record of the caller's, keeping its counts and `_fmt`, and allocates `_clst`, `_nlst`,
/// `_cell_list` and `_net_list` on the heap, uncleared, of the sizes that follow from the counts.
///
/// @param h     Overwritten without releasing anything, but for `_c`, `_n` and `_p`, which must be set and
///              not negative, and `_fmt`. Release with `free_hypergraph`.
/// @par Errors  Out of memory is fatal.
void malloc_hypergraph(Hypergraph* h);

/// Frees the four arrays of a heap record and sets them to null. Nothing else is freed, nor is the record.
///
/// @param h  A record whose arrays are on the heap or null.
void free_hypergraph(Hypergraph* h);

/// @}
/// @name Building one side of the incidence from the other
/// Linear in cells, nets and pins; nothing is allocated.
/// @{

/// Builds every cell's net list, in increasing net number, from the nets' pins.
///
/// @param h     Needs the nets with their pins and room for `_p` entries in `_net_list`. Nets whose `pins` is
///              null are skipped. Also sets `wdeg` of each cell, `_maxcd`, `_mincd` (2000000000 if there are
///              no cells) and the sentinel cell's `nets`, and sets `_maxwcd` to 0. Pins must lie in 1 ..
///              `_c`.
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
/// @par Cost   O(s log s) for a net of s pins, plus O(`_n`).
void SortPins(Hypergraph* h);

/// @}
/// @name Summary values
/// Sums are 32 bits wide and wrap.
/// @{

/// Recomputes the summaries of the cells: `wdeg` of each cell, `_maxwcd` (at least 1), `_maxcd`, `_mincd`,
/// `_totcw`, and `_fmt`, which becomes 1 if some cell has a weight of 2 or more and 0 otherwise (the bit for
/// net weights is lost).
///
/// @param h  Needs both sides built. Sets every cell's `inw` to 0, but does not change `_totinw`, `_totnw`,
///           `_virtualnets` and the nets: call `CheckListsofHypergraph` before this, not after.
/// @par Cost O(cells, nets and pins), no allocation.
void set_hypergraph_infos(Hypergraph* h);

/// Sets the weight of every net and cell to 1, and `_totcw` to `_c`. Other summaries are out of date until
/// `set_hypergraph_infos` is called.
///
/// @param h  Needs its cells and nets. Does not change `_totnw`, `_totinw`, `_virtualnets`, `_fmt` and `inw`.
void clear_weights(Hypergraph* h);

/// Renders the summary as two lines of text, with a line end before, between and after them.
///
/// @param h  Read only: its counts and summaries, no array.
/// @return   A static buffer, which the next call overwrites.
char* HygrInfo(const Hypergraph* h);

/// @}
/// @name Reading the text format
/// Comment lines begin with "%". The first other line is the header: numbering (0 or 1, the number of the
/// first cell), number of cells, nets and pins, and optionally fmt (bit 1: cell weights follow the nets; bit
/// 2: each net line begins with the net's weight) and the number of weights per cell, of which the first
/// counts. Then follow one line of cell numbers per net, and the cell weights in any number of lines.
///
/// Numbers are read as strtol does in base 10 with 64 bits, and keep their low 32. Every line, including the
/// last one, must end with a line end; text after the last line end is not read. The longest line is 16 MiB,
/// or as many bytes as there are pins if that is more, less 6 bytes.
/// @{

/// Reads a hypergraph and removes the nets with fewer than two pins: a net with one pin adds its weight to
/// that cell's `inw` and to `_totinw`, a net without pins to `_virtualnets`.
///
/// @param h      Overwritten without releasing anything. Gets the net side only, on the heap: `_clst`,
///               `_nlst` and `_cell_list`, sized by the header. `_net_list` and the cells' lists are null:
///               allocate a `_net_list` of `_p` + 2 ints, then call `construct_net_list`. Release with
///               `free_hypergraph`.
/// @param ifp    Stream, left right after the last line needed.
/// @param check  Non-zero: warn of a cell named twice by a net (the pin is kept; the cell of a removed
///               one-pin net counts as named by the next net too) and of missing cell weights (they become
///               1).
/// @return       Number of nets removed.
/// @par Errors   A header that is incomplete, out of range or with counts that no record can have; a cell
///               number outside 1 .. `_c` after the shift of the numbering; a pinless net of weight 2 or
///               more; a number of pins other than announced; a net or weight line too long; a byte of value
///               0 in a line of cell weights. All fatal.
/// @par Streams  Only the end of the file ends the input, never an error: when reading fails, the line before
///               is parsed once more, and mostly a count or `ufclose` finds that. Errors after the last line
///               needed do not show.
/// @par Hangs    If the input ends, or reading fails, after a comment line while a net or weight line is
/// still
///               due, this never returns; nor if reading fails after a line of cell weights without numbers.
///               The rest of a header line beyond 16777215 bytes is a line of its own.
/// @par Cost     One pass over the input; everything is allocated before the first net.
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
/// @param h      As there; `_totinw` and `_virtualnets` are 0, `_totnw` counts every net.
/// @param ifp    As there.
/// @param check  As there.
/// @return       0.
/// @par Errors   As there, but pinless nets may have any weight, and a line of cell weights at the end of the
///               file without its line end is fatal.
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

/// Writes a hypergraph in the format that the readers read, followed by a block of statistics for people.
///
/// @param h          Needs both sides: cell degrees come from the cells' lists; a cell whose list was never
///                   built has degree 1. `_fmt` is not used.
/// @param ofp        Stream, neither flushed nor closed; the caller checks it for write errors.
/// @param numbering  The file's number of the first cell: 0 or 1.
/// @param fmt        Weights to write: bit 1 = cells, bit 2 = nets.
/// @return           0.
/// @par Errors       Any other fmt or numbering is fatal, before anything is written.
int write_hypergraph2File(const Hypergraph* h, std::FILE* ofp, int numbering, int fmt);

/// `write_hypergraph2File` to a named file, which is created or replaced.
///
/// @param h          As there.
/// @param filename   File to write.
/// @param numbering  As there.
/// @param fmt        As there; fmt and numbering are checked after the file has been opened.
/// @return           0.
/// @par Errors       A file that cannot be opened and write errors are fatal as well.
int write_hypergraph(const Hypergraph* h, const char* filename, int numbering, int fmt);

/// @}
/// @name Net arrays
/// The nets in the compressed rows of sparse-matrix code: the pins of net j (1 .. n) are nadj[xnadj[j]] ..
/// nadj[xnadj[j + 1] - 1], cell numbers from 1. `xnadj` has n + 2 entries, of which entry 0 is not used;
/// `nadj` has two entries more than pins. There are no weights.
/// @{

/// Exports the nets of a hypergraph.
///
/// @param h      Read only; needs its nets, and `_p` to be at least the number of their pins.
/// @param xnadj  Out: an array of `_n` + 2 ints, for the caller to release with `_usfree`.
/// @param nadj   Out: an array of `_p` + 2 ints, likewise.
/// @par Errors   Out of memory is fatal.
void hypergraph_Fill2Arr(const Hypergraph* h, int** xnadj, int** nadj);

/// Builds a hypergraph from net arrays, both sides, with weights of 1.
///
/// @param h         Overwritten, except `_fmt`, without releasing anything. The totals are 0: see
///                  `set_hypergraph_infos`. Of the cells only `w`, `wdeg` and the lists are set. Release with
///                  `free_hypergraph`.
/// @param nnets     Number of nets, not negative.
/// @param ncells    Number of cells, not negative.
/// @param xnadj     Read only, not decreasing; `xnadj[1]` need not be 0.
/// @param nadj      Read only, cell numbers in 1 .. `ncells`.
/// @param diagonal  Null, or a mark per net, entries 1 .. `nnets`: 0 adds cell j to net j if there is a cell
///                  j.
/// @par Errors      More than 2^31 - 1 pins, counting `ncells` for the diagonal, are fatal.
/// @par Memory      Allocates `ncells` + 2 ints on the heap and releases them.
void hypergraph_LoadFromArr(Hypergraph* h, int nnets, int ncells, const int* xnadj, const int* nadj,
                            const int* diagonal);

/// Reads net arrays from a file in the text format. Net weights are skipped, cell weights are not read.
///
/// A net line missing at the end of the file counts as a repetition of the line before; a last line without
/// its line end is read. Cell numbers are not checked against the number of cells.
///
/// @param filename  File to read.
/// @param ncells    Out: the header's number of cells, unchecked.
/// @param nnets     Out: the header's number of nets, unchecked.
/// @param xnadj     Out: where each net begins, for the caller to release with `_usfree`.
/// @param nadj      Out: the cell numbers, likewise.
/// @par Errors      A file that cannot be opened, a header that is incomplete or out of range, a line too
///                  long, a number of pins other than announced. All fatal.
/// @par Hangs       If the file ends in a comment line while a net line is still due, this never returns.
void read_hypergraph_netar(const char* filename, int* ncells, int* nnets, int** xnadj, int** nadj);

/// @}
/// @name Formats of other programs
/// @{

/// Writes the hMETIS format with net and cell weights (code 11), cells numbered from 1.
///
/// @param h         Read only; needs its nets, and the cells' `w`.
/// @param filename  File to write, created or replaced.
/// @return          0.
/// @par Errors      A file that cannot be opened and write errors are fatal.
int write_hmetis_hypergraph(const Hypergraph* h, const char* filename);

/// Writes the kub format: number of cells, number of nets, a line of weight, size and cells (from 0) per net,
/// and the cell weights. Write errors are not detected.
///
/// @param h         Read only; needs its nets, and the cells' `w`.
/// @param filename  File to write, created or replaced.
/// @return          0.
/// @par Errors      A file that cannot be opened is fatal.
int write_kub_hypergraph(const Hypergraph* h, const char* filename);

/// @}
/// @name Partition vectors
/// One part number per cell, in the order of the cells, each followed by a blank, 100 on a line. Part numbers
/// are written as they are.
/// @{

/// Writes the `pno` of every cell.
///
/// @param h         Read only.
/// @param filename  File to write, created or replaced.
/// @par Errors      A file that cannot be opened and write errors are fatal.
void write_part_info(const Hypergraph* h, const char* filename);

/// Writes entries 1 .. n of an array.
///
/// @param n         Number of cells; 0 or less gives an empty file.
/// @param partvec   Read only, n + 1 ints; entry 0 is not used.
/// @param filename  File to write, created or replaced.
/// @par Errors      A file that cannot be opened and write errors are fatal.
void write_partvec(int n, const int* partvec, const char* filename);

/// Reads the `pno` of every cell with `read_array`: numbers of any value, separated by any white space.
///
/// @param h         Gets the `pno` of cells 1 .. `_c`; nothing else is changed.
/// @param filename  File to read.
/// @par Errors      Those of `read_array`: too few numbers, or text that is no number, are fatal.
/// @par Memory      Allocates `_c` + 1 ints on the heap and releases them.
void read_part_info(Hypergraph* h, const char* filename);

/// @}
/// @name Copies and renumbering
/// Linear in cells, nets and pins.
/// @{

/// Makes a duplicate with four heap arrays of its own, in which the lists follow one another without gaps.
///
/// @param nh  Overwritten without releasing anything. `_maxwcd`, `_maxcd` and `_mincd` become 0, the optional
///            arrays and `_internets` null, `_tag` 0; `_ninternets` is copied. The sentinel net has the end
///            of the pins in `pinsend`, not in `pins`. Release with `free_hypergraph`.
/// @param h   Read only, both sides built.
/// @return    0.
int CopyHypergraph(Hypergraph* nh, const Hypergraph* h);

/// Copies a hypergraph without its nets of fewer than two pins, and with its nets of `maxsize` pins or more
/// set aside.
///
/// Of the m nets with two pins or more, k are kept as nets 1 .. k of the copy. The others follow as nets k +
/// 1 .. m, beyond the copy's `_n`, in `_nlst` and `_cell_list`, and after `netsend` in each cell's region of
/// `_net_list`; `_p` and `_totnw` do not count them. `CopySetAsideNets` makes a record of them. Cells keep
/// their numbers.
///
/// @param h         Read only; needs its nets, and the cells' `w`, `inw` and `pno`.
/// @param nh        Owns `_clst`, `_nlst`, `_cell_list`, `_net_list`, `_clabel` and `_nlabel` of the source's
///                  sizes. `_nlabel` gets the source number of each net, set-aside ones included, `_clabel`
///                  that of each cell.
/// @param netorder  Out, source `_n` + 1 ints: entry i is the source number of copy net i, for i = 1 .. m;
///                  the pruned nets follow. Entry 0 is left alone.
/// @param celldeg   Out, source `_c` + 1 ints: number of copied nets on each cell, set-aside ones included.
/// @param cellend   Out, source `_c` + 1 pointers: where the set-aside nets of each cell begin.
/// @param maxsize   In pins.
/// @param nmulti    Out: m.
/// @param mode      2: account for the pruned nets. One-pin nets become pairs in `_internets`, a block of
///                  pool 0 allocated even if there are none, and their weight is added to `inw` of the cell
///                  and to `_totinw`; the weight of pinless ones moves from `_totnw` to `_virtualnets`.
///                  Otherwise `_internets` is null. Either way `_ninternets` counts the one-pin nets, and
///                  `_p` does not count their pins.
/// @return          0.
int CopyConsHypergraph(const Hypergraph* h, Hypergraph* nh, int* netorder, int* celldeg, int** cellend,
                       int maxsize, int* nmulti, int mode);

/// `CopyConsHypergraph` with nets and cells in random order and each net's pins in random order.
///
/// `_totnw` includes the weights of set-aside nets. A pair in `_internets` has the copy's number of the cell,
/// but the weight is added to the copy's cell that has the source's number.
///
/// @param h         The pins of nets with two pins or more are reordered; nothing else changes, and the
///                  cells' lists remain valid.
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

/// Copies the set-aside nets of a pruning copy into a hypergraph of their own, both sides, on the same cells.
///
/// @param nh      Read only: a copy of `CopyConsHypergraph` or `CopyPermConsHypergraph`, unchanged since.
/// @param nmulti  m, as that call returned it.
/// @param aside   Overwritten without releasing anything. Net j is net `nh->_n` + j of the copy, which
///                `nh->_nlabel` has the source number of; cells have the numbers, weights and parts of the
///                copy, and an `inw` of 0. `_totcw` and `_fmt` are those of the copy, `_totnw` counts these
///                nets only, `_totinw`, `_virtualnets` and `_maxwcd` are 0. Release with `free_hypergraph`.
/// @par Errors    Out of memory is fatal.
/// @par Memory    Allocates `_c` + 1 ints on the heap besides and releases them.
void CopySetAsideNets(const Hypergraph* nh, int nmulti, Hypergraph* aside);

/// Copies a hypergraph in a new order of nets and cells. Pins keep their order within a net.
///
/// @param h         Read only; needs its nets, and the cells' `w`, `inw` and `pno`.
/// @param nh        Owns `_clst`, `_nlst`, `_cell_list` and `_net_list` of the source's sizes. `_maxwcd`
///                  becomes 0.
/// @param netperm   Entries 1 .. `_n`: the old number of each new net, each number once.
/// @param cellperm  In: entries 1 .. `_c`, the old number of each new cell, each number once. Out: the
///                  degrees of the new cells. May be the same array as `netperm`.
/// @return          0.
/// @par Memory      Allocates `_c` + 2 ints on the heap and releases them.
int PermuteHypergraph(const Hypergraph* h, Hypergraph* nh, const int* netperm, int* cellperm);

/// Copies a hypergraph with as many cells as nets, renumbered by part: first the cells of the first part,
/// then those of the next, in their old order within a part. Nets are renumbered like the cells.
///
/// @param h     Read only; as for `PermuteHypergraph`, and as many cells as nets.
/// @param k     Number of parts. Cells whose `pno` is not in 0 .. k - 1 follow those of all parts, in their
/// old
///              order.
/// @param nh    As for `PermuteHypergraph`.
/// @par Errors  Different numbers of cells and nets are fatal.
/// @par Memory  Allocates k + 2 `_c` + 4 ints on the heap and releases them.
void SymmetricPermute(const Hypergraph* h, int k, Hypergraph* nh);

/// @}
/// @name Statistics
/// Both recompute every figure from the cells and nets of a record with both sides built, except the
/// averages, which derive from `_p`. A sum of cell weights other than `_totcw` is fatal. Averages over no
/// cells or no nets are the result of the division by zero.
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
/// Unlike in `prinfo_hypergraph`, the smallest degree and size may be 0. Allocates two heap arrays, of
/// largest degree + 1 and largest size + 1 ints, and does not release them.
///
/// @param h  Read only.
void pr_detailinfo_hypergraph(const Hypergraph* h);

/// @}
/// @name Consistency checks
/// They end the program at the first broken rule; nothing is changed or allocated. Each pin costs a scan of
/// the list that must name it back, unless it is found at its expected place.
///
/// Entries may be any numbers. One that names no item, because it is outside 1 .. `_c` or 1 .. `_n` and the
/// spare entries beside them, is named back 0 times; nothing outside the arrays is read for it.
/// @{

/// Verifies that both sides name each other exactly once, that each holds `_p` pins, and the totals of
/// weights.
///
/// The net weights are compared with `_totnw` only if the sum of `inw` is not `_totinw`. Nets with weight but
/// without pins cause a warning. Prints a line before and after through `uprintf`.
///
/// @param h     Read only; needs both sides built, and the totals of a reader or a copy.
/// @par Errors  The first entry that is not named back exactly once, and a number of pins or a sum of weights
///              that differs from the record's, each with a message of its own.
void CheckListsofHypergraph(const Hypergraph* h);

/// Verifies that both sides name each other exactly once, where each list ends at the start of the next.
///
/// @param h      Start pointers of the sentinels must be set. Numbers above `_n` are nets up to `nnets`, or
///               if the cells' lists have more entries than the nets before, of nets of 2 to `_c` pins.
/// @param nnets  Nets 1 .. nnets are examined; may exceed `_n` for a pruning copy with set-aside nets.
void CheckListsofContinuesHypergraph(const Hypergraph* h, int nnets);

/// Decides whether a hypergraph is symmetric: as many cells as nets, and the lists of cell i and net i
/// equally long and with the same numbers, for every i.
///
/// @param h        Read only; needs both sides built.
/// @param verbose  Non-zero: print the counts first, and the reason if the answer is no.
/// @return         1 for symmetric, 0 for not.
/// @par Errors     If the lists of i are equally long, a number in cell i's list that net i does not list is
///                 fatal, after both lists are printed; so is one that net i lists more than once. Entries
///                 that name no item are printed with part -1 and weight 0.
int CheckSymmetryinHypergraph(const Hypergraph* h, int verbose);

/// @}
/// @name Dumps
/// Text for people, through `uprintf`. Both sides must be built, and their entries must be real cells and
/// nets.
/// @{

/// Prints the pins of net j with their part numbers and weights.
///
/// @param h  Read only.
/// @param j  A net, 1 .. `_n`; of a pruning copy also a set-aside net.
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
