#include "CharsetPeer.h"

#include <array>
#include <cstdio>
#include <map>

#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include "ConversionSupport.h"

namespace {

class IconvPeer : public CharsetPeer {
 public:
  explicit IconvPeer(const std::string& name)
      : m_read(OpenConverter("UTF-16LE", name.c_str())),
        m_write(OpenConverter(name.c_str(), "UTF-16LE")) {}

  bool IsOpen() const { return m_read && m_write; }

  std::u16string Read(std::string_view bytes) override { return Text(Run(m_read.get(), bytes)); }
  std::string Write(std::u16string_view text) override { return Run(m_write.get(), Units(text)); }

 private:
  struct Close {
    void operator()(iconv_t converter) const { iconv_close(converter); }
  };
  using Converter = std::unique_ptr<std::remove_pointer_t<iconv_t>, Close>;

  static Converter OpenConverter(const char* to, const char* from) {
    const iconv_t converter = iconv_open(to, from);
    return Converter(converter != reinterpret_cast<iconv_t>(-1) ? converter : nullptr);
  }

  static std::string Run(iconv_t converter, std::string_view input) {
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    std::string output(8 * input.size() + 16, '\0');
    char* in = const_cast<char*>(input.data());
    std::size_t inLeft = input.size();
    char* out = output.data();
    std::size_t outLeft = output.size();
    if (iconv(converter, &in, &inLeft, &out, &outLeft) != 0) return {};
    if (iconv(converter, nullptr, nullptr, &out, &outLeft) != 0) return {};
    output.resize(output.size() - outLeft);
    return output;
  }

  Converter m_read;
  Converter m_write;
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

  std::u16string Read(std::string_view bytes) override {
    return Run<std::u16string>(ucnv_toUChars, bytes);
  }
  std::string Write(std::u16string_view text) override {
    return Run<std::string>(ucnv_fromUChars, text);
  }

 private:
  struct Close {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
  };

  template <class Output, class Convert, class Input>
  Output Run(Convert convert, Input input) {
    UErrorCode error = U_ZERO_ERROR;
    Output output(8 * input.size() + 16, 0);
    const int length = convert(m_converter.get(), output.data(), static_cast<int>(output.size()),
                               input.data(), static_cast<int>(input.size()), &error);
    output.resize(U_SUCCESS(error) ? static_cast<std::size_t>(length) : 0);
    return output;
  }

  std::unique_ptr<UConverter, Close> m_converter;
};

// Prints every mapping of a codec: "> BYTES UNITS" and "< UNITS BYTES", in hexadecimal.
constexpr const char* kPythonScript = R"(
import sys
name = sys.argv[1]
def each(direction, inputs, convert):
    failed = []
    for item in inputs:
        try:
            print(direction, item.hex(), convert(item).hex())
        except UnicodeError:
            failed.append(item)
    return failed
def read(c):
    return c.decode(name).encode("utf-16-le")
leads = each(">", [bytes([c]) for c in range(256)], read)
each(">", [c + bytes([d]) for c in leads for d in range(256)], read)
units = [chr(u).encode("utf-16-le") for u in range(65536) if not 0xD800 <= u <= 0xDFFF]
each("<", units, lambda u: u.decode("utf-16-le").encode(name))
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

  std::u16string Read(std::string_view bytes) override {
    const auto found = m_read.find(std::string(bytes));
    return found != m_read.end() ? Text(found->second) : std::u16string();
  }
  std::string Write(std::u16string_view text) override {
    const auto found = m_write.find(Units(text));
    return found != m_write.end() ? found->second : std::string();
  }

 private:
  std::map<std::string, std::string> m_read;  // the units little-endian
  std::map<std::string, std::string> m_write;
};

template <class Peer>
std::unique_ptr<CharsetPeer> OpenPeer(const std::string& name) {
  auto peer = std::make_unique<Peer>(name);
  return peer->IsOpen() ? std::move(peer) : nullptr;
}

}  // namespace

std::unique_ptr<CharsetPeer> CharsetPeer::Open(const std::string& name) {
  const std::string converter = name.substr(name.find(':') + 1);
  if (name.starts_with("iconv:")) return OpenPeer<IconvPeer>(converter);
  if (name.starts_with("python:")) return OpenPeer<PythonPeer>(converter);
  return OpenPeer<IcuPeer>(converter);
}

std::vector<std::pair<std::string, std::string>> ReadEveryPair(const std::string& peerName,
                                                               unsigned page,
                                                               const std::string& begin,
                                                               const std::string& end) {
  std::vector<std::pair<std::string, std::string>> mapped;
  const auto peer = CharsetPeer::Open(peerName);
  if (peer == nullptr) ADD_FAILURE() << "no " << peerName;
  for (unsigned code = 0x2121; peer != nullptr && code <= 0x7E7E; ++code) {
    if ((code & 0xFF) < 0x21 || (code & 0xFF) > 0x7E) continue;
    const std::string text = begin + BytesOf(code) + end;
    const Converted read = Convert(page, kUtf16, text);
    const std::string expected = Units(peer->Read(BytesOf(code | 0x8080)));
    EXPECT_EQ(read.hadErrors, expected.empty()) << std::hex << code;
    if (expected.empty()) continue;
    EXPECT_EQ(read.bytes, expected) << std::hex << code;
    mapped.emplace_back(text, expected);
  }
  return mapped;
}
