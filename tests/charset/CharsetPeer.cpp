#include "CharsetPeer.h"

#include <array>
#include <cstdio>
#include <map>

#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

namespace {

const auto kNoIconv = reinterpret_cast<iconv_t>(-1);

class IconvPeer : public CharsetPeer {
 public:
  explicit IconvPeer(const std::string& name)
      : m_read(iconv_open("UTF-16LE", name.c_str())),
        m_write(iconv_open(name.c_str(), "UTF-16LE")) {}
  ~IconvPeer() override {
    if (m_read != kNoIconv) iconv_close(m_read);
    if (m_write != kNoIconv) iconv_close(m_write);
  }
  IconvPeer(const IconvPeer&) = delete;
  IconvPeer& operator=(const IconvPeer&) = delete;

  bool IsOpen() const { return m_read != kNoIconv && m_write != kNoIconv; }

  std::optional<std::u16string> Read(std::string_view bytes) override {
    const std::optional<std::string> units = Run(m_read, bytes);
    if (!units) return std::nullopt;
    std::u16string text(units->size() / 2, u'\0');
    units->copy(reinterpret_cast<char*>(text.data()), 2 * text.size());
    return text;
  }

  std::optional<std::string> Write(std::u16string_view text) override {
    return Run(m_write, {reinterpret_cast<const char*>(text.data()), 2 * text.size()});
  }

 private:
  static std::optional<std::string> Run(iconv_t converter, std::string_view input) {
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    std::string output(8 * input.size() + 16, '\0');
    char* in = const_cast<char*>(input.data());
    std::size_t inLeft = input.size();
    char* out = output.data();
    std::size_t outLeft = output.size();
    if (iconv(converter, &in, &inLeft, &out, &outLeft) != 0) return std::nullopt;
    if (iconv(converter, nullptr, nullptr, &out, &outLeft) != 0) return std::nullopt;
    output.resize(output.size() - outLeft);
    return output;
  }

  iconv_t m_read;
  iconv_t m_write;
};

class IcuPeer : public CharsetPeer {
 public:
  explicit IcuPeer(const std::string& name) {
    UErrorCode error = U_ZERO_ERROR;
    m_converter.reset(ucnv_open(name.c_str(), &error));
    if (!m_converter) return;
    ucnv_setToUCallBack(m_converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &error);
    ucnv_setFromUCallBack(m_converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &error);
    ucnv_setFallback(m_converter.get(), false);
    if (U_FAILURE(error)) m_converter.reset();
  }

  bool IsOpen() const { return m_converter != nullptr; }

  std::optional<std::u16string> Read(std::string_view bytes) override {
    UErrorCode error = U_ZERO_ERROR;
    std::u16string text(4 * bytes.size() + 8, u'\0');
    const int length = ucnv_toUChars(m_converter.get(), text.data(), static_cast<int>(text.size()),
                                     bytes.data(), static_cast<int>(bytes.size()), &error);
    if (U_FAILURE(error)) return std::nullopt;
    text.resize(static_cast<std::size_t>(length));
    return text;
  }

  std::optional<std::string> Write(std::u16string_view text) override {
    UErrorCode error = U_ZERO_ERROR;
    std::string bytes(8 * text.size() + 16, '\0');
    const int length =
        ucnv_fromUChars(m_converter.get(), bytes.data(), static_cast<int>(bytes.size()),
                        text.data(), static_cast<int>(text.size()), &error);
    if (U_FAILURE(error)) return std::nullopt;
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
  }

 private:
  struct Close {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
  };
  std::unique_ptr<UConverter, Close> m_converter;
};

// Prints every mapping of a codec: "> BYTES UNIT" and "< UNIT BYTES", in hexadecimal.
constexpr const char* kPythonScript = R"(
import sys
name = sys.argv[1]
def each(inputs, convert, show):
    failed = []
    for item in inputs:
        try:
            print(*show(item, convert(item)))
        except UnicodeError:
            failed.append(item)
    return failed
def decode(c):
    return c.decode(name)
def show(c, text):
    return ">", c.hex(), text.encode("utf-16-be").hex()
leads = each([bytes([c]) for c in range(256)], decode, show)
each([c + bytes([d]) for c in leads for d in range(256)], decode, show)
units = [chr(u) for u in range(65536) if not 0xD800 <= u <= 0xDFFF]
each(units, lambda u: u.encode(name), lambda u, b: ("<", u.encode("utf-16-be").hex(), b.hex()))
)";

std::string FromHex(const std::string& text) {
  std::string bytes;
  for (std::size_t n = 0; n + 1 < text.size(); n += 2) {
    bytes += static_cast<char>(std::stoi(text.substr(n, 2), nullptr, 16));
  }
  return bytes;
}

// All of a codec's tables at once, from a process of its own.
class PythonPeer : public CharsetPeer {
 public:
  explicit PythonPeer(const std::string& codec) {
    const std::string command =
        "python3 -c '" + std::string(kPythonScript) + "' " + codec + " 2>/dev/null";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    if (!pipe) return;
    std::array<char, 64> from, to;
    char direction;
    while (std::fscanf(pipe.get(), " %c %63s %63s", &direction, from.data(), to.data()) == 3) {
      (direction == '>' ? m_read : m_write)[FromHex(from.data())] = FromHex(to.data());
    }
  }

  bool IsOpen() const { return !m_read.empty() && !m_write.empty(); }

  std::optional<std::u16string> Read(std::string_view bytes) override {
    const auto found = m_read.find(std::string(bytes));
    if (found == m_read.end()) return std::nullopt;
    std::u16string text;
    for (std::size_t n = 0; n + 1 < found->second.size(); n += 2) {
      text += static_cast<char16_t>(static_cast<unsigned char>(found->second[n]) << 8 |
                                    static_cast<unsigned char>(found->second[n + 1]));
    }
    return text;
  }

  std::optional<std::string> Write(std::u16string_view text) override {
    std::string units;
    for (const char16_t unit : text) {
      units += static_cast<char>(unit >> 8);
      units += static_cast<char>(unit);
    }
    const auto found = m_write.find(units);
    if (found == m_write.end()) return std::nullopt;
    return found->second;
  }

 private:
  std::map<std::string, std::string> m_read;   // bytes to units
  std::map<std::string, std::string> m_write;  // units, the high byte first, to bytes
};

}  // namespace

std::unique_ptr<CharsetPeer> CharsetPeer::Open(const std::string& name) {
  const std::size_t colon = name.find(':');
  const std::string converter = name.substr(colon + 1);
  if (name.starts_with("iconv:")) {
    auto peer = std::make_unique<IconvPeer>(converter);
    if (peer->IsOpen()) return peer;
  } else if (name.starts_with("python:")) {
    auto peer = std::make_unique<PythonPeer>(converter);
    if (peer->IsOpen()) return peer;
  } else {
    auto peer = std::make_unique<IcuPeer>(converter);
    if (peer->IsOpen()) return peer;
  }
  return nullptr;
}
