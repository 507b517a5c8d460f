#include "bench/small/Pairs.h"

#include "quarnet/core/StringUtil.h"

#include <curl/curl.h>
#include <string>

namespace quarnet::bench {
namespace {

Parameters twentyPairs() {
  Parameters parameters;
  for (int i = 0; i < 20; ++i) {
    const std::string number = std::to_string(i);
    const std::string value =
        i % 2 == 0 ? "중앙도서관 " + number + "층 열람실" : "reading room, floor=" + number;
    parameters.emplace("param_" + number, value);
  }
  return parameters;
}

std::string escapedByCurl(CURL* easy, const std::string& text) {
  char* escaped = curl_easy_escape(easy, text.data(), static_cast<int>(text.size()));
  std::string result = escaped;
  curl_free(escaped);
  return result;
}

std::string builtByCurl(CURL* easy, const Parameters& parameters) {
  std::string query;
  for (const auto& [key, value] : parameters) {
    if (!query.empty()) query += '&';
    query += escapedByCurl(easy, key);
    query += '=';
    query += escapedByCurl(easy, *value);
  }
  return query;
}

std::string readByHand(const std::string& query, const std::string& key) {
  const std::size_t start = query.find(key + "=");
  if (start == std::string::npos) return {};
  const std::size_t value = start + key.size() + 1;
  return query.substr(value, query.find('&', value) - value);
}

} // namespace

void addQueryStrings() {
  const Parameters parameters = twentyPairs();
  CURL* easy = curl_easy_init();
  add({.what = "building a query string of 20 pairs",
       .measure = "speed, against curl_easy_escape and std::string",
       .bound = atLeast(5),
       .ours = repeat(
           [parameters] { return StringUtil::getQueryStringFromDictionary(parameters)->size(); }),
       .yardstick = repeat([parameters, easy] { return builtByCurl(easy, parameters).size(); })});
  add({.what = "building and reading a query string of 20 pairs",
       .measure = "speed, against curl_easy_escape and std::string",
       .bound = atLeast(2),
       .ours = repeat([parameters] {
         const Text query = StringUtil::getQueryStringFromDictionary(parameters);
         for (const auto& [key, value] : parameters)
           benchmark::DoNotOptimize(StringUtil::getValueFromQueryStringKey(*query, key));
         return query->size();
       }),
       .yardstick = repeat([parameters, easy] {
         const std::string query = builtByCurl(easy, parameters);
         for (const auto& [key, value] : parameters)
           benchmark::DoNotOptimize(readByHand(query, key));
         return query.size();
       })});
}

} // namespace quarnet::bench
