#include "programs/dashboard/terminal/key_decoder.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace tarvel::viewer {
namespace {

constexpr std::string_view kControl = "\033[";    // begins a control sequence (ECMA-48)
constexpr std::string_view kMouse = "\033[<";     // xterm's mouse reports, "1006"
constexpr std::string_view kOldMouse = "\033[M";  // and those before them, three bytes
constexpr std::size_t kLongest = 32;              // of a sequence; more is no key

// With and without the keypad's application mode, whatever terminfo says.
constexpr std::pair<std::string_view, int> kCommonKeys[] = {
    {"\033[A", kKeyUp},      {"\033OA", kKeyUp},        {"\033[B", kKeyDown},
    {"\033OB", kKeyDown},    {"\033[H", kKeyHome},      {"\033OH", kKeyHome},
    {"\033[1~", kKeyHome},   {"\033[7~", kKeyHome},     {"\033[F", kKeyEnd},
    {"\033OF", kKeyEnd},     {"\033[4~", kKeyEnd},      {"\033[8~", kKeyEnd},
    {"\033[5~", kKeyPageUp}, {"\033[6~", kKeyPageDown}, {"\033[Z", kKeyBackTab},
    {"\033OM", kKeyEnter},   {"\033OP", kKeyF1},        {"\033[11~", kKeyF1},
    {"\033[18~", kKeyF7},    {"\033[20~", kKeyF9}};

// The button of a report: shift, meta and control (4, 8, 16) do not matter.
std::optional<int> keyOfButton(int button) {
  constexpr int kModifiers = 4 + 8 + 16;
  switch (button & ~kModifiers) {
    case 0:
      return kKeyClick;
    case 64:
      return kKeyWheelUp;
    case 65:
      return kKeyWheelDown;
    default:
      return std::nullopt;
  }
}

std::optional<Key> mouseKey(int button, int column, int row) {
  const auto code = keyOfButton(button);
  if (!code || column < 1 || row < 1) return std::nullopt;
  return Key{*code, row - 1, column - 1};
}

// "0;12;3", without the "M" of a press at its end.
std::optional<Key> mouseReport(std::string_view text) {
  std::array<int, 3> numbers{};
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (i > 0 && (at == end || *at++ != ';')) return std::nullopt;
    const auto read = std::from_chars(at, end, numbers[i]);
    if (read.ec != std::errc()) return std::nullopt;
    at = read.ptr;
  }
  return at == end ? mouseKey(numbers[0], numbers[1], numbers[2]) : std::nullopt;
}

}  // namespace

KeyDecoder::KeyDecoder(const std::vector<std::pair<std::string, int>>& keys) : keys_(keys) {
  keys_.insert(keys_.end(), std::begin(kCommonKeys), std::end(kCommonKeys));
}

std::optional<Key> KeyDecoder::next(bool whole) {
  while (!waiting_.empty()) {
    Match found = match();
    if (found.isPartial && !whole) break;
    const bool isCutOff = found.isPartial && waiting_.starts_with(kControl);
    if (found.length == 0 && isCutOff) found.length = waiting_.size();
    if (found.length == 0) found = {1, Key{static_cast<unsigned char>(waiting_.front())}, false};
    waiting_.erase(0, found.length);
    if (found.key) return found.key;
  }
  return std::nullopt;
}

KeyDecoder::Match KeyDecoder::match() const {
  Match best;
  for (const auto& [sequence, code] : keys_) {
    if (waiting_.starts_with(sequence)) {
      if (sequence.size() > best.length) best = {sequence.size(), Key{code}, false};
    } else if (!waiting_.empty() && sequence.starts_with(waiting_)) {
      best.isPartial = true;
    }
  }
  if (best.length > 0 || best.isPartial) return best;
  if (waiting_.starts_with(kMouse) || waiting_.starts_with(kOldMouse)) return matchMouse();
  if (waiting_.starts_with(kControl)) return matchControl();
  return best;
}

KeyDecoder::Match KeyDecoder::matchMouse() const {
  if (waiting_.starts_with(kOldMouse)) {
    constexpr int kOffset = 32;  // of each of the three bytes
    if (waiting_.size() < 6) return {0, std::nullopt, true};
    const auto number = [&](std::size_t i) {
      return static_cast<unsigned char>(waiting_[i]) - kOffset;
    };
    return {6, mouseKey(number(3), number(4), number(5)), false};
  }
  const std::size_t end = waiting_.find_first_not_of("0123456789;", kMouse.size());
  if (end == std::string::npos || (waiting_[end] != 'M' && waiting_[end] != 'm')) {
    return matchControl();
  }
  const std::string_view numbers(waiting_.data() + kMouse.size(), end - kMouse.size());
  return {end + 1, waiting_[end] == 'M' ? mouseReport(numbers) : std::nullopt, false};
}

// A whole sequence of a key that is not ours, or one that a control character cuts off.
KeyDecoder::Match KeyDecoder::matchControl() const {
  const auto end =
      std::find_if(waiting_.begin() + static_cast<std::ptrdiff_t>(kControl.size()), waiting_.end(),
                   [](char character) { return character < ' ' || character > '?'; });
  const auto length = static_cast<std::size_t>(end - waiting_.begin());
  if (end == waiting_.end())
    return {length < kLongest ? 0 : length, std::nullopt, length < kLongest};
  return {*end < ' ' ? length : length + 1, std::nullopt, false};
}

}  // namespace tarvel::viewer
