// Solutions kept by a time stamp: the best few, under the client's order.
#pragma once

#include <cstddef>
#include <memory>
#include <set>

namespace treesearch {

class AbstractMachineGlobalData;

class AbstractSolution {
 public:
  AbstractSolution() = default;
  AbstractSolution(AbstractSolution const&) = default;
  AbstractSolution& operator=(AbstractSolution const&) = default;
  virtual ~AbstractSolution();
  // Strict weak order, "less" meaning better. It must be total on distinct
  // solutions for the pool to be independent of the order of arrival.
  virtual bool operator<(AbstractSolution const& other) const = 0;
};

struct SolutionPoolComparator {
  bool operator()(std::shared_ptr<AbstractSolution> const& a,
                  std::shared_ptr<AbstractSolution> const& b) const {
    return *a < *b;
  }
};

class SolutionPool {
 public:
  using Set = std::set<std::shared_ptr<AbstractSolution>, SolutionPoolComparator>;

  explicit SolutionPool(AbstractMachineGlobalData const& machine, std::size_t capacity = 10);

  // Keeps the `capacity` best solutions ever added; an equivalent solution
  // already present stays, the newcomer is dropped. Null is ignored.
  void add(std::shared_ptr<AbstractSolution> const& solution);
  std::shared_ptr<AbstractSolution> get_best_solution() const;
  Set const& solutions() const { return solutions_; }
  std::size_t size() const { return solutions_.size(); }
  std::size_t capacity() const { return capacity_; }
  AbstractMachineGlobalData const& machine() const { return machine_; }

 private:
  AbstractMachineGlobalData const& machine_;
  std::size_t capacity_;
  Set solutions_;
};

}  // namespace treesearch
