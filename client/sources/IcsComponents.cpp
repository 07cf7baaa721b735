#include "client/sources/IcsComponents.h"

#include "base/AsciiText.h"
#include "client/sources/LineDecoding.h"

namespace client {
namespace {

bool IsItem(std::string_view name) {
  return name == "VEVENT" || name == "VTODO" || name == "VJOURNAL" || name == "VFREEBUSY" ||
         name == "VTIMEZONE";
}

class ComponentReader {
 public:
  ComponentReader(std::string_view text,
                  const std::function<void(const IcsComponent& component)>& take)
      : m_reader(text), m_take(take) {}

  void Read() {
    ContentLine line;
    while (m_reader.Next(line)) {
      const bool begins = line.name == "BEGIN";
      if (begins || line.name == "END") {
        const std::string name = UpperAscii(mail::trimmed(line.value));
        begins ? Begin(name) : End(name);
      } else if (m_open) {
        TakeLine(line);
      }
    }
    Close(/*ended=*/false);
  }

 private:
  void Begin(const std::string& name) {
    if (name == "VCALENDAR") return Close(/*ended=*/false);
    if (IsItem(name)) {
      Close(/*ended=*/false);
      m_component = {};
      m_component.name = name;
      m_component.offset = m_reader.Begin();
      m_open = true;
      m_depth = 0;
    } else if (m_open) {
      if (m_depth++ == 0 && name == "VALARM") m_component.alarms.emplace_back();
      if (m_depth == 1) m_inAlarm = name == "VALARM";
    }
    m_component.length = m_reader.End() - m_component.offset;
  }

  void End(const std::string& name) {
    if (!m_open) return;
    if (name == "VCALENDAR") return Close(/*ended=*/false);
    m_component.length = m_reader.End() - m_component.offset;
    if (name == m_component.name) return Close(/*ended=*/true);
    if (m_depth > 0) --m_depth;
  }

  void TakeLine(ContentLine& line) {
    // The rules of a zone are read by whoever needs them, from the text.
    if (m_component.name != "VTIMEZONE" || m_depth == 0) DecodeLine(m_reader, line);
    m_component.length = m_reader.End() - m_component.offset;
    if (line.name.empty()) return;
    if (m_depth == 0) {
      m_component.lines.push_back(std::move(line));
    } else if (m_depth == 1 && m_inAlarm) {
      m_component.alarms.back().push_back(std::move(line));
    }
  }

  void Close(bool ended) {
    if (!m_open) return;
    m_open = false;
    m_component.ended = ended;
    m_take(m_component);
  }

  ContentLineReader m_reader;
  const std::function<void(const IcsComponent& component)>& m_take;
  IcsComponent m_component;
  bool m_open = false;
  bool m_inAlarm = false;
  std::size_t m_depth = 0;  // of components inside of this one
};

}  // namespace

const ContentLine* IcsComponent::First(std::string_view wanted) const {
  for (const ContentLine& line : lines) {
    if (line.name == wanted) return &line;
  }
  return nullptr;
}

std::string IcsComponent::Text(std::string_view wanted) const {
  const ContentLine* line = First(wanted);
  return line ? std::string(mail::trimmed(UnescapedText(line->value))) : std::string();
}

void ReadIcsComponents(std::string_view text,
                       const std::function<void(const IcsComponent& component)>& take) {
  ComponentReader(text, take).Read();
}

}  // namespace client
