#include "sandbox/Misbehaviour.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>

namespace quarnet::sandbox {
namespace {

struct Word {
  std::string_view name;
  Misbehaviour::Kind kind;
  enum class Argument { none, number, optionalNumber, twoNumbers, text } argument;
};

using Kind = Misbehaviour::Kind;
using Argument = Word::Argument;

constexpr std::array kWords = {
    Word{"delay", Kind::delay, Argument::number},
    Word{"silent", Kind::silent, Argument::none},
    Word{"reset", Kind::reset, Argument::none},
    Word{"reset-body", Kind::resetBody, Argument::none},
    Word{"cut", Kind::cut, Argument::optionalNumber},
    Word{"drop", Kind::drop, Argument::none},
    Word{"endless", Kind::endless, Argument::none},
    Word{"status", Kind::status, Argument::number},
    Word{"empty", Kind::empty, Argument::none},
    Word{"utf8", Kind::utf8, Argument::none},
    Word{"page", Kind::page, Argument::none},
    Word{"body", Kind::body, Argument::text},
    Word{"key", Kind::keyTexts, Argument::twoNumbers},
};

constexpr std::uint64_t kLongestDelay = 24ul * 3600 * 1000;
constexpr std::uint64_t kLongestKeyText = 1024ul * 1024;

std::uint64_t numberFrom(std::string_view text, std::string_view kind) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size())
    throw std::invalid_argument("misbehaviour \"" + std::string(kind) +
                                "\" needs a number, not \"" + std::string(text) + "\"");
  return number;
}

void checkRange(const Misbehaviour& misbehaviour) {
  const std::uint64_t number = misbehaviour.number;
  if (misbehaviour.kind == Kind::delay && number > kLongestDelay)
    throw std::invalid_argument("a delay is at most a day: 86400000 milliseconds");
  if (misbehaviour.kind == Kind::status && (number < 200 || number > 599))
    throw std::invalid_argument("a status is 200 to 599, not " + std::to_string(number));
  if (misbehaviour.kind == Kind::keyTexts &&
      std::max(number, misbehaviour.second) > kLongestKeyText)
    throw std::invalid_argument("a key text is at most 1048576 characters");
}

} // namespace

Misbehaviour Misbehaviour::delay(std::chrono::milliseconds time) {
  return {.kind = Kind::delay, .number = static_cast<std::uint64_t>(time.count())};
}

Misbehaviour Misbehaviour::parse(std::string_view kind, std::string_view argument) {
  for (const Word& word : kWords) {
    if (word.name != kind) continue;
    Misbehaviour misbehaviour{.kind = word.kind};
    switch (word.argument) {
    case Argument::none:
      if (!argument.empty())
        throw std::invalid_argument("misbehaviour \"" + std::string(kind) + "\" takes no argument");
      break;
    case Argument::optionalNumber:
      if (!argument.empty()) misbehaviour.number = numberFrom(argument, kind);
      break;
    case Argument::number:
      misbehaviour.number = numberFrom(argument, kind);
      break;
    case Argument::twoNumbers: {
      const std::string_view first = argument.substr(0, argument.find(','));
      misbehaviour.number = numberFrom(first, kind);
      misbehaviour.second =
          numberFrom(argument.substr(std::min(argument.size(), first.size() + 1)), kind);
      break;
    }
    case Argument::text:
      misbehaviour.text = argument;
      break;
    }
    checkRange(misbehaviour);
    return misbehaviour;
  }
  std::string known;
  for (const Word& word : kWords)
    known.append(known.empty() ? "" : ", ").append(word.name);
  throw std::invalid_argument("there is no misbehaviour \"" + std::string(kind) + "\", only " +
                              known);
}

std::string_view Misbehaviour::help() {
  return "  delay:MS     wait that many milliseconds before answering\n"
         "  silent       take the request and never answer\n"
         "  reset        reset the connection instead of answering\n"
         "  reset-body   reset the connection after the head and half of the body\n"
         "  cut[:BYTES]  announce the whole body, send that many bytes of it (0) and close\n"
         "  drop         answer as if the connection would stay open, then close it\n"
         "  endless      send a body that never ends\n"
         "  status:CODE  answer with that status (200 to 599)\n"
         "  empty        answer with an empty body\n"
         "  utf8         answer with a body that is not valid UTF-8\n"
         "  page         answer with an HTML page\n"
         "  body:TEXT    answer with that text as the body\n"
         "  key:K,I      hand out a key of K and an IV of I characters (the key endpoint only)\n";
}

} // namespace quarnet::sandbox
