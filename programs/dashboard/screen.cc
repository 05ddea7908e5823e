#include "programs/dashboard/screen.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <string>

#include <langinfo.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "programs/dashboard/terminal/repaint.h"
#include "text/printable_text.h"
#include "text/utf8.h"

namespace tarvel::viewer {
namespace {

constexpr int kEscapeDelay = 25;  // milliseconds in which the rest of a key comes

// A size that no terminal has would take memory for nothing.
constexpr int kMostLines = 1000;
constexpr int kMostColumns = 2000;

bool isColourWanted() {
  const char* no = std::getenv("NO_COLOR");
  return no == nullptr || *no == '\0';
}

bool isPlain(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

// For terminals without Unicode: the degree sign goes, any other character becomes "?".
std::string asciiText(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const auto character = text.substr(0, std::max<std::size_t>(utf8Length(text), 1));
    text.remove_prefix(character.size());
    if (character.size() == 1) {
      shown += character;
    } else if (character != "°") {
      shown += '?';
    }
  }
  return shown;
}

void writeAll(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;  // it is gone, which the wait for keys notices
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

bool isInputWaiting(int milliseconds) {
  pollfd input = {STDIN_FILENO, POLLIN, 0};
  return ::poll(&input, 1, milliseconds) == 1 && (input.revents & POLLIN) != 0;
}

std::string readInput() {
  std::array<char, 256> bytes{};
  const ssize_t size = ::read(STDIN_FILENO, bytes.data(), bytes.size());
  return {bytes.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
}

// Ends the wait for keys when the terminal has got another size.
void noticeResizing() {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  ::sigaction(SIGWINCH, &action, nullptr);
}

// What SIGTSTP does where it is not blocked, as it is here: it comes by a descriptor.
void stopAsAsked() {
  sigset_t stop;
  sigset_t before;
  ::sigemptyset(&stop);
  ::sigaddset(&stop, SIGTSTP);
  ::raise(SIGTSTP);
  ::sigprocmask(SIG_UNBLOCK, &stop, &before);
  ::sigprocmask(SIG_SETMASK, &before, nullptr);
}

Box sizeOfTerminal() {
  winsize size{};
  const bool isKnown = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
  if (!isKnown || size.ws_row == 0 || size.ws_col == 0) return {0, 0, 24, 80};
  return {0, 0, std::min<int>(size.ws_row, kMostLines), std::min<int>(size.ws_col, kMostColumns)};
}

}  // namespace

Screen::Screen() {
  std::setlocale(LC_CTYPE, "");
  isUnicode_ = std::string_view(nl_langinfo(CODESET)) == "UTF-8";
  codes_ = terminalCodes(std::getenv("TERM"));
  if (!codes_) return;
  keys_.emplace(codes_->keys);
  hasColour_ = isColourWanted() && codes_->colours >= 8;
  setTheme(*theme_);
  noticeResizing();
  enter();
}

Screen::~Screen() {
  if (codes_) leave();
}

void Screen::enter() {
  size_ = sizeOfTerminal();
  mode_.emplace();
  writeAll(codes_->enter);
  redraw();
}

void Screen::leave() {
  writeAll(codes_->plain + codes_->leave);
  mode_.reset();
}

void Screen::suspend() {
  leave();
  stopAsAsked();
  enter();
  size_ = {};  // the next key() asks for a picture
}

void Screen::setTheme(const Theme& theme) {
  theme_ = &theme;
  std::ranges::transform(theme.inks, styles_.begin(),
                         [&](const InkStyle& style) { return styleOf(style); });
  redraw();
}

std::string Screen::styleOf(const InkStyle& style) const {
  std::string text;
  if (style.isBold) text += codes_->bold;
  if (style.isReversed) text += codes_->reversed;
  const short colour = codes_->colours >= 256 ? style.rich : style.plain;
  if (hasColour_ && theme_->hasColour && colour >= 0) text += codes_->colourOf(colour);
  return text;
}

Box Screen::area() const { return {0, 0, next_.height(), next_.width()}; }

void Screen::begin() {
  if (size_ == area()) return next_.erase();
  next_ = CellBuffer(size_.height, size_.width);
  shown_ = next_;
  redraw();
}

void Screen::end() {
  std::string text;
  if (!isShownKnown_) {
    text = codes_->plain + codes_->clear;
    shown_.erase();
    isShownKnown_ = true;
  }
  writeAll(text + repaint(shown_, next_, *codes_, styles_));
  std::swap(shown_, next_);
}

void Screen::redraw() { isShownKnown_ = false; }

int Screen::put(int row, int column, int width, std::string_view text, Ink ink) {
  const auto style = static_cast<std::uint8_t>(ink);
  if (isPlain(text)) return next_.put(row, column, width, text, style);
  const std::string shown = printableText(text);
  return next_.put(row, column, width, isUnicode_ ? shown : asciiText(shown), style);
}

void Screen::frame(Box box, std::string_view title, Ink ink, std::string_view note) {
  if (box.height < 2 || box.width < 4) return;
  const auto line = [&](int row, std::string_view left, std::string_view right) {
    std::string text(left);
    for (int i = 0; i < box.width - 2; ++i) text += isUnicode_ ? "─" : "-";
    text += right;
    put(row, box.left, box.width, text, Ink::kDim);
  };
  const int bottom = box.top + box.height - 1;
  line(box.top, isUnicode_ ? "╭" : "+", isUnicode_ ? "╮" : "+");
  line(bottom, isUnicode_ ? "╰" : "+", isUnicode_ ? "╯" : "+");
  for (int row = box.top + 1; row < bottom; ++row) {
    put(row, box.left, 1, isUnicode_ ? "│" : "|", Ink::kDim);
    put(row, box.left + box.width - 1, 1, isUnicode_ ? "│" : "|", Ink::kDim);
  }
  const std::string text = " " + std::string(title) + " ";
  put(box.top, box.left + 2, box.width - 4, text, ink);
  if (!note.empty()) {
    const std::string below = " " + std::string(note) + " ";
    put(bottom, box.left + 2, box.width - 4, below, Ink::kDim);
  }
}

std::optional<Key> Screen::key() {
  const Box size = sizeOfTerminal();
  if (size != size_) {
    size_ = size;
    return Key{kKeyResize};
  }
  if (isInputWaiting(0)) keys_->add(readInput());
  auto key = keys_->next(false);
  while (!key && keys_->isWaiting() && isInputWaiting(kEscapeDelay)) {
    const std::string more = readInput();
    if (more.empty()) break;
    keys_->add(more);
    key = keys_->next(false);
  }
  return key ? key : keys_->next(true);
}

}  // namespace tarvel::viewer
