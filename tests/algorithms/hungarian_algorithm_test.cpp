// The assignment solver: documented examples, optimality against brute force on every matrix of
// a seeded batch, identical results to a driver built from the public step functions (the
// method as written, step by step), refusals, and the searches on their own.
#include <qobase/algorithms/hungarian_algorithm.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <numeric>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

using namespace HungarianSteps;

Array2D<int> FromRows(const std::vector<std::vector<int>>& rows) {
  Array2D<int> matrix(rows.size(), rows.empty() ? 0 : rows[0].size());
  for (size_t r = 0; r < rows.size(); ++r) {
    for (size_t c = 0; c < rows[r].size(); ++c) matrix(r, c) = rows[r][c];
  }
  return matrix;
}

// The method run step by step through the public step functions.
void StepByStep(Array2D<int>& costs, std::vector<int>& assignment) {
  const int n = static_cast<int>(costs.rows);
  for (int r = 0; r < n; ++r) {
    int least = 0x7FFFFFFF;
    for (int c = 0; c < n; ++c) least = std::min(least, costs(r, c));
    // Wrapping around as the method's plain int arithmetic does.
    for (int c = 0; c < n; ++c) costs(r, c) = static_cast<int>(0u + costs(r, c) - least);
  }
  Array2D<unsigned char> mask(costs.rows, costs.cols, k_plain);
  std::vector<bool> rowCover(costs.rows), colCover(costs.cols);
  for (int r = 0; r < n; ++r) {
    for (int c = 0; c < n; ++c) {
      if (costs(r, c) == 0 && !rowCover[r] && !colCover[c]) {
        mask(r, c) = k_starred;
        rowCover[r] = colCover[c] = true;
      }
    }
  }
  ClearCovers(rowCover, colCover, n, n);
  std::vector<Location> path(costs.data.size());
  Location remembered{0, 0};
  for (int step = 1; step != k_done;) {
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
  assignment.resize(costs.rows);
  for (int r = 0; r < n; ++r) assignment[r] = FindStarInRow(mask, n, r);
}

long long Total(const Array2D<int>& costs, const std::vector<int>& assignment) {
  long long total = 0;
  for (size_t r = 0; r < assignment.size(); ++r) total += costs(r, assignment[r]);
  return total;
}

long long BruteForceMinimum(const Array2D<int>& costs) {
  std::vector<int> columns(costs.rows);
  std::iota(columns.begin(), columns.end(), 0);
  long long best = LLONG_MAX;
  do {
    best = std::min(best, Total(costs, columns));
  } while (std::next_permutation(columns.begin(), columns.end()));
  return best;
}

Array2D<int> RandomMatrix(std::mt19937& random, size_t n, int low, int high) {
  Array2D<int> matrix(n, n);
  std::uniform_int_distribution<int> value(low, high);
  for (int& cell : matrix.data) cell = value(random);
  return matrix;
}

TEST(HungarianAlgorithm, Examples) {
  const struct {
    std::vector<std::vector<int>> rows;
    std::vector<int> assignment;
  } cases[] = {
      {{{7}}, {0}},
      {{{4, 1, 3}, {2, 0, 5}, {3, 2, 2}}, {1, 0, 2}},
      {{{0, 1, 1}, {1, 0, 1}, {1, 1, 0}}, {0, 1, 2}},
      {{{5, 5, 5}, {5, 5, 5}, {5, 5, 5}}, {0, 1, 2}},
      {{{0, 0}, {0, 0}}, {0, 1}},
      {{{1, 2}, {1, 9}}, {1, 0}},
      {{{-5, 3}, {2, -7}}, {0, 1}},
  };
  for (const auto& c : cases) {
    Array2D<int> costs = FromRows(c.rows);
    std::vector<int> assignment = {9, 9, 9, 9};
    HungarianAlgorithm::FindAssignments(costs, assignment);
    EXPECT_EQ(assignment, c.assignment);
    for (size_t r = 0; r < assignment.size(); ++r) EXPECT_EQ(costs(r, assignment[r]), 0);
  }

  // The reduced costs of the 3 x 3 example: each row less its least cost, then two adjustments
  // by 1 (column 0 alone uncovered; then row 2 and column 1 covered).
  Array2D<int> costs = FromRows({{4, 1, 3}, {2, 0, 5}, {3, 2, 2}});
  std::vector<int> assignment;
  HungarianAlgorithm::FindAssignments(costs, assignment);
  EXPECT_EQ(costs.data, FromRows({{1, 0, 1}, {0, 0, 4}, {0, 1, 0}}).data);
}

TEST(HungarianAlgorithm, RefusesWhatIsNotSquare) {
  Array2D<int> empty;
  std::vector<int> assignment = {3, 4};
  HungarianAlgorithm::FindAssignments(empty, assignment);
  EXPECT_TRUE(assignment.empty());

  Array2D<int> wide = FromRows({{1, 2, 3}, {4, 5, 6}});
  const std::vector<int> before = wide.data;
  assignment = {3, 4};
  HungarianAlgorithm::FindAssignments(wide, assignment);
  EXPECT_EQ(assignment, (std::vector<int>{3, 4}));
  EXPECT_EQ(wide.data, before);

  // Square by its counts but short of cells: thrown before anything changes.
  Array2D<int> truncated = FromRows({{1, 2}, {3, 4}});
  truncated.data.pop_back();
  EXPECT_THROW(HungarianAlgorithm::FindAssignments(truncated, assignment), std::out_of_range);
  EXPECT_EQ(truncated.data, (std::vector<int>{1, 3, 2}));
  EXPECT_EQ(assignment, (std::vector<int>{3, 4}));
}

// Solves `original` both ways; they must agree on the assignment and the reduced matrix, and the
// assignment must take one column per row. Returns the solver's assignment.
std::vector<int> SolveBothWays(const Array2D<int>& original, Array2D<int>& reduced) {
  reduced = original;
  Array2D<int> stepped = original;
  std::vector<int> assignment, steppedAssignment;
  HungarianAlgorithm::FindAssignments(reduced, assignment);
  StepByStep(stepped, steppedAssignment);
  EXPECT_EQ(assignment, steppedAssignment);
  EXPECT_EQ(reduced.data, stepped.data);
  std::vector<int> sorted = assignment;
  std::sort(sorted.begin(), sorted.end());
  for (size_t i = 0; i < sorted.size(); ++i) EXPECT_EQ(sorted[i], static_cast<int>(i));
  return assignment;
}

// Every matrix of the batch: the same assignment and reduced matrix as the step-by-step method,
// 0 in every picked cell, and up to 7 x 7 an optimal total. Which of several zeros in a row is
// primed rarely changes the outcome, so the batch is large and rich in ties.
TEST(HungarianAlgorithm, OptimalAndIdenticalToStepByStepOnRandomBatch) {
  std::mt19937 random(20240917);
  const struct { int low, high; } ranges[] = {{0, 1}, {0, 3}, {0, 9}, {0, 1000}, {-50, 50}, {5, 5}};
  for (size_t n = 1; n <= 48; n += n < 24 ? 1 : 8) {
    for (const auto& range : ranges) {
      for (int round = 0; round < (n <= 7 ? 25 : n < 24 ? 20 : 4); ++round) {
        const Array2D<int> original = RandomMatrix(random, n, range.low, range.high);
        Array2D<int> reduced;
        const std::vector<int> assignment = SolveBothWays(original, reduced);
        for (size_t r = 0; r < n; ++r) ASSERT_EQ(reduced(r, assignment[r]), 0);
        if (n <= 7) {
          ASSERT_EQ(Total(original, assignment), BruteForceMinimum(original));
        }
        ASSERT_FALSE(HasFailure()) << n << "x" << n << " round " << round;
      }
    }
  }
}

// Costs too large for the method's sums wrap around in its int arithmetic: the result is no
// optimum, but it is still the step-by-step method's. Extreme and arbitrary values wrap in the
// row reduction; growing products of row and column only in the adjustments, part of the way.
TEST(HungarianAlgorithm, IdenticalToStepByStepWhenCostsWrapAround) {
  std::mt19937 random(5);
  const int extremes[] = {INT_MIN, INT_MIN + 1, -1, 0, 1, INT_MAX - 1, INT_MAX};
  std::uniform_int_distribution<int> any(INT_MIN, INT_MAX);
  for (size_t n = 1; n <= 12; ++n) {
    for (int round = 0; round < 60; ++round) {
      Array2D<int> original(n, n);
      const size_t unit = size_t{INT_MAX} / (n * n) * (1 + round % 2);
      for (size_t r = 0; r < n; ++r) {
        for (size_t c = 0; c < n; ++c) {
          const auto product = static_cast<int>(static_cast<uint32_t>(unit * r * c + random() % 3));
          original(r, c) = round % 3 == 0   ? extremes[random() % 7]
                           : round % 3 == 1 ? any(random)
                                            : product;
        }
      }
      Array2D<int> reduced;
      SolveBothWays(original, reduced);
      ASSERT_FALSE(HasFailure()) << n << "x" << n << " round " << round;
    }
  }
}

TEST(HungarianSteps, Searches) {
  EXPECT_EQ(PackLocation(Location{2, 5}), 0x0000000500000002LL);
  EXPECT_EQ(PackLocation(Location{-1, -1}), -1);
  const Location cell = UnpackLocation(0x0000000700000003LL);
  EXPECT_EQ(cell.row * 10 + cell.col, 37);

  // Zeros at (0, 2), (1, 0) and (2, 1); row 1 covered.
  const Array2D<int> costs = FromRows({{4, 1, 0}, {0, 2, 5}, {3, 0, 2}});
  const Array2D<unsigned char> mask(3, 3, k_plain);
  std::vector<bool> rowCover = {false, true, false}, colCover = {false, false, false};
  EXPECT_EQ(FindZero(costs, mask, rowCover, colCover, 3, 3), PackLocation(Location{0, 2}));
  colCover[2] = true;
  EXPECT_EQ(FindZero(costs, mask, rowCover, colCover, 3, 3), PackLocation(Location{2, 1}));
  EXPECT_EQ(FindMinimum(costs, rowCover, colCover, 3, 3), 0);
  colCover[1] = true;
  EXPECT_EQ(FindZero(costs, mask, rowCover, colCover, 3, 3), -1);
  EXPECT_EQ(FindMinimum(costs, rowCover, colCover, 3, 3), 3);
  EXPECT_EQ(FindZero(costs, mask, rowCover, colCover, 0, 3), -1);
  colCover[0] = true;
  EXPECT_EQ(FindMinimum(costs, rowCover, colCover, 3, 3), k_noMinimum);

  Array2D<unsigned char> marks(3, 3, k_plain);
  marks(0, 1) = k_starred;
  marks(0, 2) = k_primed;
  marks(1, 0) = k_primed;
  marks(2, 1) = k_starred;
  EXPECT_EQ(FindStarInRow(marks, 3, 0), 1);
  EXPECT_EQ(FindStarInRow(marks, 3, 1), -1);
  EXPECT_EQ(FindStarInColumn(marks, 3, 1), 0);
  EXPECT_EQ(FindStarInColumn(marks, 3, 2), -1);
  EXPECT_EQ(FindPrimeInRow(marks, 3, 0), 2);
  EXPECT_EQ(FindPrimeInRow(marks, 3, 2), -1);

  // Only the first `length` path cells change, and plain cells stay plain.
  ConvertPath(marks, {{0, 2}, {0, 1}, {1, 1}, {1, 0}}, 3);
  EXPECT_EQ(marks.data, (std::vector<unsigned char>{0, 2, 0, 0, 0, 1, 1, 0, 0}));
  ClearPrimes(marks, 3, 3);
  EXPECT_EQ(marks.data, (std::vector<unsigned char>{0, 0, 0, 0, 0, 1, 1, 0, 0}));

  // Counts larger than the matrices throw rather than read past them.
  EXPECT_THROW(FindStarInRow(marks, 4, 1), std::out_of_range);
  EXPECT_THROW(FindMinimum(costs, rowCover, colCover, 4, 4), std::out_of_range);
}

TEST(HungarianSteps, StepFourAdjustsByCover) {
  Array2D<int> costs = FromRows({{5, 6, 7}, {8, 9, 4}, {3, 2, 1}});
  Array2D<unsigned char> mask(3, 3, k_plain);
  std::vector<bool> rowCover = {true, false, false}, colCover = {false, true, false};
  // Uncovered cells: rows 1 and 2 by columns 0 and 2, least 1. Twice covered: (0, 1).
  EXPECT_EQ(RunStep4(costs, mask, rowCover, colCover, 3, 3), 2);
  EXPECT_EQ(costs.data, FromRows({{5, 7, 7}, {7, 9, 3}, {2, 2, 0}}).data);

  rowCover = {true, true, true};
  EXPECT_EQ(RunStep4(costs, mask, rowCover, colCover, 3, 3), k_done);
}

}  // namespace
