// HungarianAlgorithm::FindAssignments: the Munkres steps with the same choices as the step
// functions (first uncovered zero rows outer and columns inner, first star and prime by index),
// made O(n^3) by two bookkeeping devices:
// - step 4 adds m to covered rows and takes m from uncovered columns, which is exactly "add to
//   cells covered twice, take from cells not covered"; so it only moves one offset per row and
//   per column, and a cell's current cost is base + rowOffset - columnOffset;
// - every uncovered row keeps the least cost over the uncovered columns and the first column
//   holding it. Costs never go below 0, so a row holds an uncovered zero exactly when that least
//   cost is 0, and its first zero is that column. Step 4 lowers every such cost by m and keeps
//   the columns; uncovering a column compares one new cell per row.
// "Costs never go below 0" holds while no cost leaves the int range. No cost exceeds the largest
// row-reduced cost plus the sum of the adjustments so far, so the bookkeeping runs while that sum
// fits; costs that would leave the range (their int arithmetic wraps around) are handed with the
// whole state to the step functions, which follow the wrap-around exactly.
// The reduced matrix is written back once at the end or at the hand-over.
#include <qobase/algorithms/hungarian_algorithm.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <vector>

namespace {

class MunkresSolver {
 public:
  MunkresSolver(int* costs, size_t n)
      : m_costs(costs),
        m_n(n),
        m_rowOffset(n, 0),
        m_colOffset(n, 0),
        m_starInRow(n, -1),
        m_starInCol(n, -1),
        m_primeInRow(n, -1),
        m_rowCovered(n, 0),
        m_colCovered(n, 0),
        m_rowLeast(n, 0),
        m_rowLeastCol(n, 0) {}

  // Runs the method to its end (0), or to the point where its costs could leave the int range:
  // then the costs are written back and the number of the step to go on with is returned
  // (1 after the initial stars, 4 before an adjustment), the state to be read by Export.
  int Solve() {
    const int64_t largest = ReduceRows();
    StarFirstZeros();
    if (largest > INT_MAX) {
      WriteReducedCosts();
      return 1;
    }
    m_headroom = INT_MAX - largest;
    while (CoverStarredColumns() < m_n) {
      FindRowLeasts();
      for (;;) {
        const size_t row = FirstRowWithUncoveredZero();
        if (row == m_n) {
          if (!Adjust()) {
            WriteReducedCosts();
            return 4;
          }
          continue;
        }
        const int col = m_rowLeastCol[row];
        m_primeInRow[row] = col;
        const int starCol = m_starInRow[row];
        if (starCol < 0) {
          Augment(row, col);
          break;
        }
        m_rowCovered[row] = 1;
        UncoverColumn(static_cast<size_t>(starCol));
      }
    }
    WriteReducedCosts();
    return 0;
  }

  int StarInRow(size_t row) const { return m_starInRow[row]; }

  // The stars, primes and covers as the step functions keep them.
  void Export(Array2D<unsigned char>& mask, std::vector<bool>& rowCover,
              std::vector<bool>& colCover) const {
    mask = Array2D<unsigned char>(m_n, m_n, HungarianSteps::k_plain);
    rowCover.assign(m_n, false);
    colCover.assign(m_n, false);
    for (size_t r = 0; r < m_n; ++r) {
      if (m_starInRow[r] >= 0)
        mask(r, static_cast<size_t>(m_starInRow[r])) = HungarianSteps::k_starred;
      if (m_primeInRow[r] >= 0)
        mask(r, static_cast<size_t>(m_primeInRow[r])) = HungarianSteps::k_primed;
      rowCover[r] = m_rowCovered[r] != 0;
    }
    for (size_t c = 0; c < m_n; ++c) colCover[c] = m_colCovered[c] != 0;
  }

 private:
  // Costs and offsets add in the int's own width with wrap-around, as plain int arithmetic does
  // on this machine: whenever the method's costs fit in an int the results are exact.
  static int Wrapped(uint32_t sum) { return static_cast<int>(sum); }

  int Cost(size_t row, size_t col) const {
    return Wrapped(static_cast<uint32_t>(m_costs[col * m_n + row]) + m_rowOffset[row] -
                   m_colOffset[col]);
  }

  // Takes each row's least cost (searched from INT_MAX) from every cell of the row. Returns the
  // largest difference, exact, which may be beyond the int range that the cells wrap around in.
  int64_t ReduceRows() {
    std::vector<int> least(m_n, INT_MAX);
    std::vector<int> most(m_n, INT_MIN);
    for (size_t c = 0; c < m_n; ++c) {
      const int* column = m_costs + c * m_n;
      for (size_t r = 0; r < m_n; ++r) {
        least[r] = column[r] < least[r] ? column[r] : least[r];
        most[r] = column[r] > most[r] ? column[r] : most[r];
      }
    }
    int64_t largest = 0;
    for (size_t r = 0; r < m_n; ++r) {
      largest = std::max(largest, int64_t{most[r]} - int64_t{least[r]});
    }
    for (size_t c = 0; c < m_n; ++c) {
      int* column = m_costs + c * m_n;
      for (size_t r = 0; r < m_n; ++r) {
        column[r] = Wrapped(static_cast<uint32_t>(column[r]) - static_cast<uint32_t>(least[r]));
      }
    }
    return largest;
  }

  // Stars each zero whose row and column hold no star yet, rows outer and columns inner.
  void StarFirstZeros() {
    for (size_t r = 0; r < m_n; ++r) {
      for (size_t c = 0; c < m_n; ++c) {
        if (m_costs[c * m_n + r] == 0 && m_starInCol[c] < 0) {
          Star(r, c);
          break;
        }
      }
    }
  }

  // Step 1 after the covers were cleared: the number of columns holding a star.
  size_t CoverStarredColumns() {
    size_t covered = 0;
    for (size_t c = 0; c < m_n; ++c) {
      m_colCovered[c] = m_starInCol[c] >= 0 ? 1 : 0;
      covered += m_colCovered[c];
    }
    return covered;
  }

  // At the start of step 2 every row is uncovered: the least cost of each row over the
  // uncovered columns (there is at least one), the first such column on ties.
  void FindRowLeasts() {
    size_t first = 0;
    while (m_colCovered[first]) ++first;
    for (size_t r = 0; r < m_n; ++r) {
      m_rowLeast[r] = Cost(r, first);
      m_rowLeastCol[r] = static_cast<int>(first);
    }
    for (size_t c = first + 1; c < m_n; ++c) {
      if (m_colCovered[c]) continue;
      const int* column = m_costs + c * m_n;
      const uint32_t colOffset = m_colOffset[c];
      const int col = static_cast<int>(c);
      for (size_t r = 0; r < m_n; ++r) {
        const int cost = Wrapped(static_cast<uint32_t>(column[r]) + m_rowOffset[r] - colOffset);
        const bool less = cost < m_rowLeast[r];
        m_rowLeast[r] = less ? cost : m_rowLeast[r];
        m_rowLeastCol[r] = less ? col : m_rowLeastCol[r];
      }
    }
  }

  // The first uncovered row holding an uncovered zero, or m_n.
  size_t FirstRowWithUncoveredZero() const {
    for (size_t r = 0; r < m_n; ++r) {
      if (!m_rowCovered[r] && m_rowLeast[r] == 0) return r;
    }
    return m_n;
  }

  // Covered rows are updated too, which keeps the loop free of branches: nothing reads their
  // least costs before the next phase computes them afresh.
  void UncoverColumn(size_t col) {
    m_colCovered[col] = 0;
    const int* column = m_costs + col * m_n;
    const uint32_t colOffset = m_colOffset[col];
    const int c = static_cast<int>(col);
    for (size_t r = 0; r < m_n; ++r) {
      const int cost = Wrapped(static_cast<uint32_t>(column[r]) + m_rowOffset[r] - colOffset);
      const bool take = cost < m_rowLeast[r] || (cost == m_rowLeast[r] && c < m_rowLeastCol[r]);
      m_rowLeast[r] = take ? cost : m_rowLeast[r];
      m_rowLeastCol[r] = take ? c : m_rowLeastCol[r];
    }
  }

  // Step 4; false, changing nothing, when a cost could leave the int range.
  bool Adjust() {
    int least = INT_MAX;
    for (size_t r = 0; r < m_n; ++r) {
      if (!m_rowCovered[r] && m_rowLeast[r] < least) least = m_rowLeast[r];
    }
    if (least > m_headroom) return false;
    m_headroom -= least;
    const uint32_t m = static_cast<uint32_t>(least);
    for (size_t r = 0; r < m_n; ++r) {
      if (m_rowCovered[r]) {
        m_rowOffset[r] += m;
      } else {
        m_rowLeast[r] = Wrapped(static_cast<uint32_t>(m_rowLeast[r]) - m);
      }
    }
    for (size_t c = 0; c < m_n; ++c) {
      if (!m_colCovered[c]) m_colOffset[c] += m;
    }
    return true;
  }

  // Step 3 from the prime at (row, col), which has no star in its row: along the path, the
  // star in the prime's column gives way to the prime, and the prime in the star's row is next.
  void Augment(size_t row, int col) {
    m_path.clear();
    m_path.push_back(Location{static_cast<int>(row), col});
    for (;;) {
      const int starRow = m_starInCol[static_cast<size_t>(col)];
      if (starRow < 0) break;
      col = m_primeInRow[static_cast<size_t>(starRow)];
      m_path.push_back(Location{starRow, col});
    }
    // Unstar first: a path row's new star may take a column that another path row gives up.
    for (size_t i = 1; i < m_path.size(); ++i) {
      const auto starRow = static_cast<size_t>(m_path[i].row);
      m_starInCol[static_cast<size_t>(m_starInRow[starRow])] = -1;
      m_starInRow[starRow] = -1;
    }
    for (const Location& prime : m_path) {
      Star(static_cast<size_t>(prime.row), static_cast<size_t>(prime.col));
    }
    m_rowCovered.assign(m_n, 0);
    m_primeInRow.assign(m_n, -1);
  }

  void Star(size_t row, size_t col) {
    m_starInRow[row] = static_cast<int>(col);
    m_starInCol[col] = static_cast<int>(row);
  }

  void WriteReducedCosts() {
    for (size_t c = 0; c < m_n; ++c) {
      for (size_t r = 0; r < m_n; ++r) m_costs[c * m_n + r] = Cost(r, c);
    }
  }

  int* m_costs;  // column-major n x n; the row-reduced costs until the end
  size_t m_n;
  // INT_MAX less the largest reduced cost and the adjustments so far: what later adjustments
  // may add without taking a cost beyond the int range.
  int64_t m_headroom = 0;
  std::vector<uint32_t> m_rowOffset;  // added by step 4 while the row is covered
  std::vector<uint32_t> m_colOffset;  // taken by step 4 while the column is uncovered
  std::vector<int> m_starInRow;
  std::vector<int> m_starInCol;
  std::vector<int> m_primeInRow;
  std::vector<unsigned char> m_rowCovered;
  std::vector<unsigned char> m_colCovered;
  std::vector<int> m_rowLeast;  // meaningful for uncovered rows only
  std::vector<int> m_rowLeastCol;
  std::vector<Location> m_path;
};

// The step functions from `step` on, until they are done.
void RunSteps(Array2D<int>& costs, Array2D<unsigned char>& mask, std::vector<bool>& rowCover,
              std::vector<bool>& colCover, int step) {
  using namespace HungarianSteps;
  const int n = static_cast<int>(costs.rows);
  Location remembered{0, 0};
  std::vector<Location> path;
  path.reserve(2 * costs.rows + 1);  // a path alternates primes and stars, one of each per row
  while (step != k_done) {
    switch (step) {
      case 1:
        step = RunStep1(costs, mask, rowCover, colCover, n, n);
        break;
      case 2:
        step = RunStep2(costs, mask, rowCover, colCover, n, n, remembered, path);
        break;
      case 3:
        step = RunStep3(costs, mask, rowCover, colCover, n, n, remembered, path);
        break;
      default:
        step = RunStep4(costs, mask, rowCover, colCover, n, n);
        break;
    }
  }
}

}  // namespace

void HungarianAlgorithm::FindAssignments(Array2D<int>& costs, std::vector<int>& assignment) {
  if (costs.rows != costs.cols) return;
  const size_t n = costs.rows;
  if (n > static_cast<size_t>(std::numeric_limits<int>::max()) ||
      (n != 0 && costs.data.size() / n < n)) {
    throw std::out_of_range("Array2D: data shorter than rows * cols");
  }
  MunkresSolver solver(costs.data.data(), n);
  const int nextStep = solver.Solve();
  if (nextStep == 0) {
    assignment.resize(n, 0);
    for (size_t r = 0; r < n; ++r) {
      const int col = solver.StarInRow(r);
      if (col >= 0) assignment[r] = col;
    }
    return;
  }
  Array2D<unsigned char> mask;
  std::vector<bool> rowCover, colCover;
  solver.Export(mask, rowCover, colCover);
  RunSteps(costs, mask, rowCover, colCover, nextStep);
  assignment.resize(n, 0);
  for (size_t r = 0; r < n; ++r) {
    const int col = HungarianSteps::FindStarInRow(mask, static_cast<int>(n), static_cast<int>(r));
    if (col >= 0) assignment[r] = col;
  }
}
