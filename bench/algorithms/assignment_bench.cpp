// HungarianAlgorithm::FindAssignments against dlib's max_cost_assignment (costs negated, so its
// maximum is our minimum) on seeded random integer matrices of 100 x 100 and 300 x 300, costs
// 0 to 999. Ours works in place, so before each of our runs (untimed) the matrices are copied
// afresh; dlib gets its negated matrices made beforehand and leaves them as they are. Both must
// reach the same total on every matrix before a time counts. Prints ours / dlib as rows of the
// ratio table (bar: 2.0).
#include <dlib/matrix.h>
#include <dlib/optimization/max_cost_assignment.h>
#include <qobase/algorithms/hungarian_algorithm.h>

#include <cstdio>
#include <random>
#include <vector>

#include "bench_support.h"

namespace {

struct Problem {
  Array2D<int> costs;
  dlib::matrix<int> negated;
};

std::vector<Problem> MakeProblems(size_t count, size_t n, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_int_distribution<int> value(0, 999);
  std::vector<Problem> problems(count);
  for (Problem& problem : problems) {
    problem.costs = Array2D<int>(n, n);
    problem.negated.set_size(static_cast<long>(n), static_cast<long>(n));
    for (size_t r = 0; r < n; ++r) {
      for (size_t c = 0; c < n; ++c) {
        const int cost = value(random);
        problem.costs(r, c) = cost;
        problem.negated(static_cast<long>(r), static_cast<long>(c)) = -cost;
      }
    }
  }
  return problems;
}

long long Total(const Array2D<int>& costs, const std::vector<long>& columns) {
  long long total = 0;
  for (size_t r = 0; r < columns.size(); ++r) {
    total += costs(r, static_cast<size_t>(columns[r]));
  }
  return total;
}

bool Measure(const char* what, size_t count, size_t n) {
  const std::vector<Problem> problems =
      MakeProblems(count, n, 20240917u + static_cast<unsigned>(n));
  for (const Problem& problem : problems) {
    Array2D<int> work = problem.costs;
    std::vector<int> ours;
    HungarianAlgorithm::FindAssignments(work, ours);
    const std::vector<long> theirs = dlib::max_cost_assignment(problem.negated);
    const std::vector<long> oursLong(ours.begin(), ours.end());
    if (Total(problem.costs, oursLong) != Total(problem.costs, theirs)) {
      std::printf("row | %s | not measured: the totals differ\n", what);
      return false;
    }
  }
  std::vector<Array2D<int>> work;
  const qobench::Comparison comparison = qobench::CompareInterleaved(
      qobench::Rounds(7),
      {[&] {
         work.clear();
         for (const Problem& problem : problems) work.push_back(problem.costs);
       },
       [&] {
         std::vector<int> assignment;
         for (Array2D<int>& costs : work) {
           HungarianAlgorithm::FindAssignments(costs, assignment);
           qobench::Keep(assignment.data());
         }
         return true;
       }},
      {nullptr, [&] {
         for (const Problem& problem : problems) {
           const std::vector<long> assignment = dlib::max_cost_assignment(problem.negated);
           qobench::Keep(assignment.data());
         }
         return true;
       }});
  return qobench::PrintRow(what, comparison, 2.0);
}

}  // namespace

int main() {
  std::printf("Assignment, ours / dlib max_cost_assignment, best of interleaved runs:\n");
  bool met = Measure("assignment: 20 matrices of 100 x 100", 20, 100);
  met = Measure("assignment: 3 matrices of 300 x 300", 3, 300) && met;
  return met ? 0 : 1;
}
