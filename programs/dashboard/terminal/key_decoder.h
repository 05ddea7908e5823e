#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The bytes that a terminal sends for keys and the mouse, one key after the other.

namespace tarvel::viewer {

// Keys that are no character. Characters come as their bytes, 0 to 255.
enum KeyCode : int {
  kKeyUp = 0x100,
  kKeyDown,
  kKeyHome,
  kKeyEnd,
  kKeyPageUp,
  kKeyPageDown,
  kKeyBackTab,
  kKeyBackspace,
  kKeyEnter,
  kKeyF1,
  kKeyF7,
  kKeyF9,
  kKeyClick,      // with its place
  kKeyWheelUp,    //
  kKeyWheelDown,  //
  kKeyResize,     // the terminal has another size
};

struct Key {
  int code = 0;
  int row = 0;  // from 0
  int column = 0;
  bool operator==(const Key&) const = default;
};

class KeyDecoder {
 public:
  // `keys`: what the terminal's own keys send. Those of ECMA-48 and xterm are known besides.
  explicit KeyDecoder(const std::vector<std::pair<std::string, int>>& keys);

  void add(std::string_view bytes) { waiting_ += bytes; }

  // Whether bytes wait of which no key has been made.
  bool isWaiting() const { return !waiting_.empty(); }

  // The next key; none where nothing waits, or the beginning of a key. When the rest of that has
  // not come for a while, ask for what is `whole`: an escape is then a key of its own. Sequences of
  // no known key are left out, and those that came to no end.
  std::optional<Key> next(bool whole);

 private:
  struct Match {
    std::size_t length = 0;  // 0: begins with no sequence
    std::optional<Key> key;
    bool isPartial = false;
  };
  Match match() const;
  Match matchMouse() const;
  Match matchControl() const;

  std::vector<std::pair<std::string, int>> keys_;
  std::string waiting_;
};

}  // namespace tarvel::viewer
