#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "programs/dashboard/terminal/cell_buffer.h"
#include "programs/dashboard/terminal/key_decoder.h"
#include "programs/dashboard/terminal/repaint.h"
#include "programs/dashboard/terminal/terminal_codes.h"

namespace tarvel::viewer {
namespace {

class Terminal : public testing::Test {
 protected:
  Terminal() { std::setlocale(LC_CTYPE, "C.UTF-8"); }
  ~Terminal() override { std::setlocale(LC_CTYPE, "C"); }
};

// A row as text: "~" for the right half of a wide character.
std::string rowOf(const CellBuffer& picture, int row) {
  const std::map<std::uint32_t, std::string> names = {{0, "~"}, {U'漢', "漢"}, {U'─', "─"}};
  std::string text;
  for (int column = 0; column < picture.width(); ++column) {
    const std::uint32_t character = picture.at(row, column).character;
    const auto name = names.find(character);
    text += name != names.end() ? name->second : std::string(1, static_cast<char>(character));
  }
  return text;
}

TEST_F(Terminal, CellsHoldWholeCharacters) {
  const struct {
    int column, width;
    std::string_view text;
    int taken;
    std::string row;
  } cases[] = {{0, 9, "abc", 3, "abc.漢~.."},      {6, 9, "abc", 3, "....漢~ab"},
               {0, 2, "abc", 2, "ab..漢~.."},      {4, 9, "x", 1, "....x .."},
               {5, 9, "x", 1, ".... x.."},         {1, 9, "漢漢", 4, ".漢~漢~ .."},
               {2, 3, "漢漢", 2, "..漢~漢~.."},    {7, 9, "漢", 2, "....漢~.."},
               {0, 9, "e\u0301─", 2, "e─..漢~.."}, {0, 9, "\xff\x01", 2, "??..漢~.."},
               {-1, 9, "abc", 3, "....漢~.."},     {8, 9, "a", 1, "....漢~.."},
               {0, -1, "a", 0, "....漢~.."}};
  for (const auto& [column, width, text, taken, row] : cases) {
    CellBuffer picture(1, 8);
    picture.put(0, 0, 8, "....漢..", 1);
    EXPECT_EQ(picture.put(0, column, width, text, 2), taken) << text;
    EXPECT_EQ(rowOf(picture, 0), row) << text << " at " << column;
    picture.put(1, 0, 8, "outside", 1);
    picture.put(-1, 0, 8, "outside", 1);
  }
}

// A terminal that understands what xterm's terminfo has for the codes that are used.
class ImitatedTerminal {
 public:
  ImitatedTerminal(int height, int width) : picture_(height, width) {}

  void write(std::string_view text) {
    while (!text.empty()) {
      const auto next = text.find('\033', 1);
      const auto part = text.substr(0, next);
      text.remove_prefix(part.size());
      const auto printed = part.front() == '\033' ? obey(part) : part;
      column_ += picture_.put(row_, column_, picture_.width(), printed, style_);
    }
  }

  const CellBuffer& picture() const { return picture_; }
  int placements = 0;

 private:
  // Returns what stands after the code.
  std::string_view obey(std::string_view part) {
    if (part.starts_with("\033(B")) return part.substr(3);
    const auto end = part.find_first_of("Hm");
    const std::string numbers(part.substr(2, end - 2));
    if (part[end] == 'H') {
      ++placements;
      row_ = std::atoi(numbers.c_str()) - 1;
      column_ = std::atoi(numbers.substr(numbers.find(';') + 1).c_str()) - 1;
    } else if (numbers.empty()) {
      style_ = 0;
    } else {
      style_ = static_cast<std::uint8_t>(style_ + std::atoi(numbers.c_str()));
    }
    return part.substr(end + 1);
  }

  CellBuffer picture_;
  int row_ = 0;
  int column_ = 0;
  std::uint8_t style_ = 0;
};

bool areSame(const CellBuffer& a, const CellBuffer& b) {
  for (int row = 0; row < a.height(); ++row) {
    for (int column = 0; column < a.width(); ++column) {
      if (!(a.at(row, column) == b.at(row, column))) return false;
    }
  }
  return true;
}

TEST_F(Terminal, IsBroughtFromAnyPictureToAnyOther) {
  const auto codes = terminalCodes("xterm-256color");
  ASSERT_TRUE(codes);
  // The numbers of a style's codes add up to the style.
  const std::vector<std::string> styles = {"", "\033[1m", "\033[2m", "\033[1m\033[2m"};
  const std::vector<std::string> words = {"a", "bcd", " ", "     ", "漢", "x漢y", "─", "😀"};
  std::mt19937 random(11);
  const auto upTo = [&](int most) { return std::uniform_int_distribution<>(0, most)(random); };
  for (int round = 0; round < 200; ++round) {
    const int height = 1 + upTo(4);
    const int width = 1 + upTo(12);
    ImitatedTerminal terminal(height, width);
    CellBuffer shown(height, width);
    for (int picture = 0; picture < 10; ++picture) {
      CellBuffer next = upTo(2) == 0 ? CellBuffer(height, width) : shown;
      for (int i = upTo(20); i > 0; --i) {
        const auto& word = words[static_cast<std::size_t>(upTo(7))];
        next.put(upTo(height), upTo(width), upTo(6), word, static_cast<std::uint8_t>(upTo(3)));
      }
      terminal.write(repaint(shown, next, *codes, styles));
      ASSERT_TRUE(areSame(terminal.picture(), next)) << round << " " << picture;
      EXPECT_EQ(repaint(next, next, *codes, styles), "");
      shown = next;
    }
  }
}

TEST_F(Terminal, IsSentLittleAndItsLastCellIsSpared) {
  auto codes = terminalCodes("xterm-256color");
  ASSERT_TRUE(codes);
  const CellBuffer empty(2, 10);
  CellBuffer next(2, 10);
  next.put(0, 2, 8, "abc", 1);
  next.put(1, 0, 10, "0123456789", 0);
  const std::vector<std::string> styles = {"", "\033[1m"};
  EXPECT_EQ(repaint(empty, next, *codes, styles),
            "\033[1;3H\033[1mabc\033[2;1H\033(B\033[m0123456789");
  codes->fillsLastCell = false;
  EXPECT_EQ(repaint(empty, next, *codes, styles),
            "\033[1;3H\033[1mabc\033[2;1H\033(B\033[m012345678");
}

TEST_F(Terminal, IsKnownByItsName) {
  const struct {
    const char* name;
    int colours;
    bool fillsLastCell;
  } cases[] = {
      {"xterm-256color", 256, true}, {"linux", 8, true}, {"vt100", 0, true}, {"ansi", 8, false}};
  for (const auto& [name, colours, fillsLastCell] : cases) {
    const auto codes = terminalCodes(name);
    ASSERT_TRUE(codes) << name;
    EXPECT_EQ(std::max(codes->colours, 0), colours) << name;
    EXPECT_EQ(codes->fillsLastCell, fillsLastCell) << name;
    EXPECT_EQ(codes->clear.find('$'), std::string::npos) << "vt100 has delays: " << name;
  }
  EXPECT_EQ(terminalCodes("vt100")->placeAt(4, 11), "\033[5;12H");
  EXPECT_EQ(terminalCodes("xterm-256color")->colourOf(203), "\033[38;5;203m");
  for (const char* const name : {"dumb", "no-such-terminal", static_cast<const char*>(nullptr)}) {
    EXPECT_FALSE(terminalCodes(name));
  }
}

TEST_F(Terminal, KeysAreTakenApartHoweverTheyCome) {
  const std::vector<std::pair<std::string, int>> own = {{"\033[[A", kKeyF1},
                                                        {"\x7f", kKeyBackspace}};
  const struct {
    std::string bytes;
    std::vector<Key> keys;
  } cases[] = {{"q", {{'q'}}},
               {"ä", {{0xC3}, {0xA4}}},
               {"\033", {{27}}},
               {"\033\033", {{27}, {27}}},
               {"\033x", {{27}, {'x'}}},
               {"\033[A\033OBk", {{kKeyUp}, {kKeyDown}, {'k'}}},
               {"\033[[A\x7f", {{kKeyF1}, {kKeyBackspace}}},
               {"\033[5~\033[6~", {{kKeyPageUp}, {kKeyPageDown}}},
               {"\033[1;5A1", {{'1'}}},           // with control: not ours
               {"\033[200~7\033[201~", {{'7'}}},  // what stands around a paste
               {"\033[12", {}},                   // broken off
               {"\033[<0;12;3M\033[<0;12;3m", {{kKeyClick, 2, 11}}},
               {"\033[<64;1;1M\033[<69;1;1M", {{kKeyWheelUp}, {kKeyWheelDown}}},
               {"\033[<2;1;1M\033[<0;1M\033[<0;0;0Mx", {{'x'}}},
               {"\033[<0;99999999999;1My", {{'y'}}},
               {"\033[M +#z", {{kKeyClick, 2, 10}, {'z'}}},
               {"\033[1\033[A\033[<0;1\rq", {{kKeyUp}, {'\r'}, {'q'}}},
               {"\033[M", {}}};
  for (const auto& [bytes, keys] : cases) {
    for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
      KeyDecoder decoder(own);
      decoder.add(std::string_view(bytes).substr(0, cut));
      std::vector<Key> taken;
      while (const auto key = decoder.next(false)) taken.push_back(*key);
      decoder.add(std::string_view(bytes).substr(cut));
      while (const auto key = decoder.next(true)) taken.push_back(*key);
      EXPECT_EQ(taken, keys) << bytes.substr(1) << " cut at " << cut;
    }
  }
}

}  // namespace
}  // namespace tarvel::viewer
