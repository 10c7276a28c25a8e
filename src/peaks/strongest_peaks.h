// The strongest peaks of a search, at most `capacity` of them, kept in the
// order they were found. When full, a new peak replaces the weakest kept one
// (the earliest found among equally weak ones) only if it is stronger. A
// min-heap on (height, order) finds that peak in log(capacity) steps, so a
// search with many peaks stays linear in the data.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace kvx {

class StrongestPeaks {
 public:
  explicit StrongestPeaks(int64_t capacity) : capacity_(capacity) {}

  void Offer(double position, double height) {
    const Entry entry{height, order_++, position};
    if (static_cast<int64_t>(heap_.size()) < capacity_) {
      heap_.push_back(entry);
      std::push_heap(heap_.begin(), heap_.end(), Weaker);
    } else if (!heap_.empty() && height > heap_.front().height) {
      std::pop_heap(heap_.begin(), heap_.end(), Weaker);
      heap_.back() = entry;
      std::push_heap(heap_.begin(), heap_.end(), Weaker);
    }
  }

  // Writes the kept peaks in the order they were found: positions and
  // heights into the first slots of the two arrays.
  void WriteTo(double* positions, double* heights) {
    std::sort(heap_.begin(), heap_.end(),
              [](const Entry& a, const Entry& b) { return a.order < b.order; });
    for (size_t j = 0; j < heap_.size(); ++j) {
      positions[j] = heap_[j].position;
      heights[j] = heap_[j].height;
    }
  }

 private:
  struct Entry {
    double height;
    int64_t order;
    double position;
  };
  // Heap order with the weakest, earliest entry on top.
  static bool Weaker(const Entry& a, const Entry& b) {
    if (a.height != b.height) return a.height > b.height;
    return a.order > b.order;
  }

  int64_t capacity_;
  int64_t order_ = 0;
  std::vector<Entry> heap_;
};

}  // namespace kvx
