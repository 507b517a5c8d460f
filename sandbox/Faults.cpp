#include "sandbox/Faults.h"

namespace quarnet::sandbox {

void Faults::add(std::string path, Misbehaviour misbehaviour) {
  const std::lock_guard lock(mutex_);
  auto& list = byPath_[std::move(path)];
  std::erase_if(list, [&](const Misbehaviour& m) { return m.kind == misbehaviour.kind; });
  list.push_back(std::move(misbehaviour));
}

void Faults::clear() {
  const std::lock_guard lock(mutex_);
  byPath_.clear();
}

std::vector<Misbehaviour> Faults::take(std::string_view path) {
  const std::lock_guard lock(mutex_);
  auto found = byPath_.find(path);
  if (found == byPath_.end()) found = byPath_.find("*");
  if (found == byPath_.end()) return {};

  std::vector<Misbehaviour> taken = found->second;
  std::erase_if(found->second, [](Misbehaviour& m) { return m.times != 0 && --m.times == 0; });
  if (found->second.empty()) byPath_.erase(found);
  return taken;
}

} // namespace quarnet::sandbox
