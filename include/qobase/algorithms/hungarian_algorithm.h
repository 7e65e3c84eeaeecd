// The assignment problem by the Hungarian (Munkres) method: pick one cell in every row and every
// column of a square integer cost matrix so that the picked costs sum to the least possible
// total. Besides the solver, the steps and searches it is made of are offered on their own, over
// a cost matrix, a mask of starred and primed zeros and row and column covers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// A dense matrix stored column by column: cell (r, c) is data[c * rows + r]. Every cell access
// checks its index against data and throws std::out_of_range past the end.
template <typename T>
class Array2D {
 public:
  Array2D() = default;
  Array2D(size_t rowCount, size_t colCount, const T& fill = T())
      : data(rowCount * colCount, fill), rows(rowCount), cols(colCount) {}

  T& operator()(size_t row, size_t col) { return data.at(col * rows + row); }
  const T& operator()(size_t row, size_t col) const { return data.at(col * rows + row); }

  std::vector<T> data;
  size_t rows = 0;  // also the stride between columns
  size_t cols = 0;
};

// One cell of a matrix.
struct Location {
  int row;
  int col;
};

// A cell packed in 64 bits, row in the low half: {row 2, col 5} is 0x0000000500000002. The
// cell {-1, -1} packs to -1, the searches' "none".
int64_t PackLocation(Location cell);
Location UnpackLocation(int64_t packed);

class HungarianAlgorithm {
 public:
  // Solves the square problem in place. On return assignment[r] is the column picked in row r
  // (the vector resized to n) and `costs` holds the reduced costs the method leaves, 0 in every
  // picked cell. Equal totals are resolved the same way every time, lowest rows and columns
  // first. A matrix whose rows and columns differ is refused: nothing changes. A square matrix
  // whose data is shorter than rows * cols throws std::out_of_range before anything changes.
  // Costs should be small enough that the method's sums fit in an int; larger ones wrap around
  // as plain int arithmetic does, which gives one column per row but no longer the least total.
  // Rows (4, 1, 3), (2, 0, 5), (3, 2, 2) give [1, 0, 2].
  static void FindAssignments(Array2D<int>& costs, std::vector<int>& assignment);
};

// The steps and searches of the method. Counts come column count first, then row count; covers
// hold one flag per row or column. Mask cells are plain, starred or primed.
namespace HungarianSteps {

enum MaskCell : unsigned char { k_plain = 0, k_starred = 1, k_primed = 2 };

// The values FindMinimum gives when no cell is uncovered, and the step functions' "done".
constexpr int k_noMinimum = 0x7FFFFFFF;
constexpr int k_done = -1;

// The first uncovered cell of cost 0, rows outer and columns inner from 0, packed; -1 when
// there is none or a count is below 1.
int64_t FindZero(const Array2D<int>& costs, const Array2D<unsigned char>& mask,
                 const std::vector<bool>& rowCover, const std::vector<bool>& colCover, int cols,
                 int rows);

// The smallest cost of the uncovered cells, or k_noMinimum when none is uncovered.
int FindMinimum(const Array2D<int>& costs, const std::vector<bool>& rowCover,
                const std::vector<bool>& colCover, int cols, int rows);

// The first starred column of the row, the first starred row of the column, the first primed
// column of the row; -1 when there is none.
int FindStarInRow(const Array2D<unsigned char>& mask, int cols, int row);
int FindStarInColumn(const Array2D<unsigned char>& mask, int rows, int col);
int FindPrimeInRow(const Array2D<unsigned char>& mask, int cols, int row);

// For the first `length` cells of the path: starred cells become plain, primed cells starred.
void ConvertPath(Array2D<unsigned char>& mask, const std::vector<Location>& path, int length);

void ClearCovers(std::vector<bool>& rowCover, std::vector<bool>& colCover, int cols, int rows);
void ClearPrimes(Array2D<unsigned char>& mask, int cols, int rows);

// Step 1: covers every column holding a star. k_done when as many columns are covered as the
// smaller count, else 2.
int RunStep1(Array2D<int>& costs, Array2D<unsigned char>& mask, std::vector<bool>& rowCover,
             std::vector<bool>& colCover, int cols, int rows);
// Step 2: primes uncovered zeros in FindZero order. A prime with a star in its row covers the
// row and uncovers the star's column; a prime without one is remembered and gives 3. No
// uncovered zero left gives 4.
int RunStep2(Array2D<int>& costs, Array2D<unsigned char>& mask, std::vector<bool>& rowCover,
             std::vector<bool>& colCover, int cols, int rows, Location& remembered,
             std::vector<Location>& path);
// Step 3: the alternating path from the remembered prime (star in its column, prime in that
// star's row, ...) swaps stars for primes; covers and primes are cleared. Gives 1.
int RunStep3(Array2D<int>& costs, Array2D<unsigned char>& mask, std::vector<bool>& rowCover,
             std::vector<bool>& colCover, int cols, int rows, Location& remembered,
             std::vector<Location>& path);
// Step 4: m, the smallest uncovered cost, is added to every cell covered twice and taken from
// every uncovered cell, wrapping around past the int range. Gives 2, or k_done when no cell is
// uncovered (the method never gets there).
int RunStep4(Array2D<int>& costs, Array2D<unsigned char>& mask, std::vector<bool>& rowCover,
             std::vector<bool>& colCover, int cols, int rows);

}  // namespace HungarianSteps
