// The steps and searches of the Hungarian method, one call per step over the whole matrix. Every
// cell and cover access is checked, so counts larger than the matrices throw instead of reading
// past them.
#include <qobase/algorithms/hungarian_algorithm.h>

#include <algorithm>
#include <cstdint>

int64_t PackLocation(Location cell) {
  const uint64_t row = static_cast<uint32_t>(cell.row);
  const uint64_t col = static_cast<uint32_t>(cell.col);
  return static_cast<int64_t>(row | (col << 32));
}

Location UnpackLocation(int64_t packed) {
  const uint64_t bits = static_cast<uint64_t>(packed);
  return Location{static_cast<int>(static_cast<uint32_t>(bits)),
                  static_cast<int>(static_cast<uint32_t>(bits >> 32))};
}

namespace HungarianSteps {

namespace {

bool Uncovered(const std::vector<bool>& rowCover, const std::vector<bool>& colCover, int row,
               int col) {
  return !rowCover.at(static_cast<size_t>(row)) && !colCover.at(static_cast<size_t>(col));
}

bool Covered(const std::vector<bool>& rowCover, const std::vector<bool>& colCover, int row,
             int col) {
  return rowCover.at(static_cast<size_t>(row)) && colCover.at(static_cast<size_t>(col));
}

template <typename T>
T& Cell(Array2D<T>& matrix, int row, int col) {
  return matrix(static_cast<size_t>(row), static_cast<size_t>(col));
}

template <typename T>
const T& Cell(const Array2D<T>& matrix, int row, int col) {
  return matrix(static_cast<size_t>(row), static_cast<size_t>(col));
}

}  // namespace

int64_t FindZero(const Array2D<int>& costs, const Array2D<unsigned char>& /*mask*/,
                 const std::vector<bool>& rowCover, const std::vector<bool>& colCover, int cols,
                 int rows) {
  if (cols < 1 || rows < 1) return -1;
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < cols; ++c) {
      if (Cell(costs, r, c) == 0 && Uncovered(rowCover, colCover, r, c)) {
        return PackLocation(Location{r, c});
      }
    }
  }
  return -1;
}

int FindMinimum(const Array2D<int>& costs, const std::vector<bool>& rowCover,
                const std::vector<bool>& colCover, int cols, int rows) {
  int minimum = k_noMinimum;
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < cols; ++c) {
      if (Uncovered(rowCover, colCover, r, c)) minimum = std::min(minimum, Cell(costs, r, c));
    }
  }
  return minimum;
}

int FindStarInRow(const Array2D<unsigned char>& mask, int cols, int row) {
  for (int c = 0; c < cols; ++c) {
    if (Cell(mask, row, c) == k_starred) return c;
  }
  return -1;
}

int FindStarInColumn(const Array2D<unsigned char>& mask, int rows, int col) {
  for (int r = 0; r < rows; ++r) {
    if (Cell(mask, r, col) == k_starred) return r;
  }
  return -1;
}

int FindPrimeInRow(const Array2D<unsigned char>& mask, int cols, int row) {
  for (int c = 0; c < cols; ++c) {
    if (Cell(mask, row, c) == k_primed) return c;
  }
  return -1;
}

void ConvertPath(Array2D<unsigned char>& mask, const std::vector<Location>& path, int length) {
  for (int i = 0; i < length; ++i) {
    const Location& cell = path.at(static_cast<size_t>(i));
    unsigned char& value = Cell(mask, cell.row, cell.col);
    if (value == k_starred) {
      value = k_plain;
    } else if (value == k_primed) {
      value = k_starred;
    }
  }
}

void ClearCovers(std::vector<bool>& rowCover, std::vector<bool>& colCover, int cols, int rows) {
  for (int r = 0; r < rows; ++r) rowCover.at(static_cast<size_t>(r)) = false;
  for (int c = 0; c < cols; ++c) colCover.at(static_cast<size_t>(c)) = false;
}

void ClearPrimes(Array2D<unsigned char>& mask, int cols, int rows) {
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < cols; ++c) {
      if (Cell(mask, r, c) == k_primed) Cell(mask, r, c) = k_plain;
    }
  }
}

int RunStep1(Array2D<int>& /*costs*/, Array2D<unsigned char>& mask, std::vector<bool>& /*rowCover*/,
             std::vector<bool>& colCover, int cols, int rows) {
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < cols; ++c) {
      if (Cell(mask, r, c) == k_starred) colCover.at(static_cast<size_t>(c)) = true;
    }
  }
  int covered = 0;
  for (int c = 0; c < cols; ++c) covered += colCover.at(static_cast<size_t>(c)) ? 1 : 0;
  return covered >= std::min(cols, rows) ? k_done : 2;
}

int RunStep2(Array2D<int>& costs, Array2D<unsigned char>& mask, std::vector<bool>& rowCover,
             std::vector<bool>& colCover, int cols, int rows, Location& remembered,
             std::vector<Location>& /*path*/) {
  for (;;) {
    const int64_t zero = FindZero(costs, mask, rowCover, colCover, cols, rows);
    if (zero == -1) return 4;
    const Location cell = UnpackLocation(zero);
    Cell(mask, cell.row, cell.col) = k_primed;
    const int starCol = FindStarInRow(mask, cols, cell.row);
    if (starCol < 0) {
      remembered = cell;
      return 3;
    }
    rowCover.at(static_cast<size_t>(cell.row)) = true;
    colCover.at(static_cast<size_t>(starCol)) = false;
  }
}

int RunStep3(Array2D<int>& /*costs*/, Array2D<unsigned char>& mask, std::vector<bool>& rowCover,
             std::vector<bool>& colCover, int cols, int rows, Location& remembered,
             std::vector<Location>& path) {
  size_t length = 0;
  auto append = [&](Location cell) {
    if (length == path.size()) path.push_back(cell);
    path[length++] = cell;
  };
  append(remembered);
  for (;;) {
    const int col = path[length - 1].col;
    const int starRow = FindStarInColumn(mask, rows, col);
    if (starRow < 0) break;
    append(Location{starRow, col});
    const int primeCol = FindPrimeInRow(mask, cols, starRow);
    if (primeCol < 0) break;  // no prime beside a star: a mask the method never makes
    append(Location{starRow, primeCol});
  }
  ConvertPath(mask, path, static_cast<int>(length));
  ClearCovers(rowCover, colCover, cols, rows);
  ClearPrimes(mask, cols, rows);
  return 1;
}

int RunStep4(Array2D<int>& costs, Array2D<unsigned char>& /*mask*/, std::vector<bool>& rowCover,
             std::vector<bool>& colCover, int cols, int rows) {
  bool anyUncovered = false;
  for (int r = 0; r < rows && !anyUncovered; ++r) {
    for (int c = 0; c < cols && !anyUncovered; ++c) {
      anyUncovered = Uncovered(rowCover, colCover, r, c);
    }
  }
  if (!anyUncovered) return k_done;
  // Plain int arithmetic that wraps around, so costs too large for the adjustments still give
  // one defined result.
  const auto minimum = static_cast<uint32_t>(FindMinimum(costs, rowCover, colCover, cols, rows));
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < cols; ++c) {
      int& cost = Cell(costs, r, c);
      if (Covered(rowCover, colCover, r, c)) {
        cost = static_cast<int>(static_cast<uint32_t>(cost) + minimum);
      } else if (Uncovered(rowCover, colCover, r, c)) {
        cost = static_cast<int>(static_cast<uint32_t>(cost) - minimum);
      }
    }
  }
  return 2;
}

}  // namespace HungarianSteps
