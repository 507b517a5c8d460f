#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace quarnet::sandbox {

/// One thing that the server does wrong on purpose. Several kinds given for one path add up.
struct Misbehaviour {
  enum class Kind {
    delay,     ///< waits `number` milliseconds before it answers
    silent,    ///< takes the request and never answers
    reset,     ///< resets the connection instead of answering
    resetBody, ///< resets the connection after the head and half of the body
    cut,       ///< announces the whole body, sends `number` bytes of it and closes
    drop,      ///< answers as if the connection would stay open, then closes it
    endless,   ///< sends a body that never ends
    status,    ///< answers with the status `number`
    empty,     ///< answers with an empty body
    utf8,      ///< answers with a body that is not valid UTF-8
    page,      ///< answers with an HTML page
    body,      ///< answers with `text` as the body
    keyTexts,  ///< hands out a key of `number` characters and an IV of `second`
  };

  Kind kind = Kind::delay;
  std::uint64_t number = 0;
  std::uint64_t second = 0;
  std::string text = {};
  unsigned times = 0; ///< for how many requests; 0: until cleared

  static Misbehaviour delay(std::chrono::milliseconds time);
  static Misbehaviour silent() { return {.kind = Kind::silent}; }
  static Misbehaviour reset() { return {.kind = Kind::reset}; }
  static Misbehaviour resetBody() { return {.kind = Kind::resetBody}; }
  static Misbehaviour cut(std::uint64_t bytes) { return {.kind = Kind::cut, .number = bytes}; }
  static Misbehaviour drop() { return {.kind = Kind::drop}; }
  static Misbehaviour endless() { return {.kind = Kind::endless}; }
  static Misbehaviour status(unsigned code) { return {.kind = Kind::status, .number = code}; }
  static Misbehaviour empty() { return {.kind = Kind::empty}; }
  static Misbehaviour utf8() { return {.kind = Kind::utf8}; }
  static Misbehaviour page() { return {.kind = Kind::page}; }
  static Misbehaviour body(std::string text) {
    return {.kind = Kind::body, .text = std::move(text)};
  }
  static Misbehaviour keyTexts(std::uint64_t key, std::uint64_t iv) {
    return {.kind = Kind::keyTexts, .number = key, .second = iv};
  }

  /// Reads a kind and its argument as written on the command line, for example "delay" and "500".
  /// Throws std::invalid_argument, with a text for people, when they make no sense.
  static Misbehaviour parse(std::string_view kind, std::string_view argument);

  /// Every kind and its argument, one a line: the text of the command line's help.
  static std::string_view help();
};

} // namespace quarnet::sandbox
