#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"

namespace quarnet {

/// A map of header values that an application may keep beside its APIRequest; requests never send
/// it.
///
/// It holds one pair at most: putValue() empties the map first, and so does getHeader(). This is
/// meant. Not safe to share between threads without a lock.
class QUARNET_EXPORT HttpHeader {
public:
  /// An empty map.
  HttpHeader() { checkInit(); }

  /// Empties the map.
  void checkInit() { headerDic_.clear(); }

  /// Empties the map, then stores the pair.
  void putValue(std::string key, std::string value) {
    checkInit();
    headerDic_[std::move(key)] = std::move(value);
  }

  /// The value of `key`, or absent.
  Text get(const std::string& key) const {
    const auto entry = headerDic_.find(key);
    return entry == headerDic_.end() ? Text() : Text(entry->second);
  }

  /// Empties the map and returns it: always an empty map.
  const Dictionary& getHeader() {
    checkInit();
    return headerDic_;
  }

  /// The map as it is.
  const Dictionary& headerDic() const { return headerDic_; }
  /// Replaces the map; it may hold more than one pair then.
  void setHeaderDic(Dictionary headerDic) { headerDic_ = std::move(headerDic); }

private:
  Dictionary headerDic_;
};

} // namespace quarnet
