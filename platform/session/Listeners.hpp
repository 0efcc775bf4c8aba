#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "base/RunLoop.hpp"

namespace kestrelune {

/// Handlers that each belong to a subscription. Adding and dropping is allowed while they are being called: one that
/// was dropped isn't called any more, one that was added comes next time.
template <class Handlers>
class Listeners {
 public:
  [[nodiscard]] std::unique_ptr<Subscription> add(Handlers handlers) {
    auto entry = std::make_shared<Entry>();
    entry->handlers = std::move(handlers);
    entries_->push_back(entry);
    return std::make_unique<Membership>(entries_, std::move(entry));
  }

  template <class Visit>
  void each(Visit visit) const {
    const auto present = *entries_;
    for (const std::shared_ptr<Entry>& entry : present)
      if (entry->active) visit(entry->handlers);
  }

  bool empty() const { return entries_->empty(); }

 private:
  struct Entry {
    Handlers handlers;
    bool active = true;
  };
  using Entries = std::vector<std::shared_ptr<Entry>>;

  class Membership final : public Subscription {
   public:
    Membership(std::shared_ptr<Entries> entries, std::shared_ptr<Entry> entry)
        : entries_(std::move(entries)), entry_(std::move(entry)) {}
    ~Membership() override {
      entry_->active = false;
      std::erase(*entries_, entry_);
    }
    Membership(const Membership&) = delete;
    Membership& operator=(const Membership&) = delete;

   private:
    std::shared_ptr<Entries> entries_;
    std::shared_ptr<Entry> entry_;
  };

  std::shared_ptr<Entries> entries_ = std::make_shared<Entries>();
};

}  // namespace kestrelune
