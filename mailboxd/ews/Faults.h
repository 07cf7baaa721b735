#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mailbox {

// Whose requests fail: those to the mailbox and its directory, those for a token, or those for the
// mailbox's address.
enum class Place { kMailbox, kToken, kAutodiscover };

// Where the connection of a request is cut.
enum class Cut { kBeforeBody, kInBody, kBehindBody, kSaved };

// Failures on demand, for tests and rehearsals. An order is one of
//   busy:N[:MS]       the next N requests are told to come back later, in so many milliseconds
//   STATUS:N[:S]      they are answered with that status of HTTP, 503 for example, and told to come
//                     back in so many seconds if those are given
//   soap:ErrorCode:N  they are answered with a SOAP fault of that code
//   ErrorCode:N       the next N items to be saved or changed are refused with that response code
//   OPERATION:ErrorCode:N
//                     the same for the next N things that an operation such as FindFolder is asked
//                     for
//   drop-before:N     the connections of the next N requests are cut before their body is read,
//   drop-in:N         in the middle of it,
//   drop:N            behind it, with nothing done,
//   drop-saved:N      or when all is done, in place of the answer
//   expired:N         the next N requests that come with a token are told that it has expired
//   broken:N          the answers of the next N requests, which are carried out, end in the middle
//   close:N           the next N answers are the last of their connections
//   latency:MS        every request waits first
//   hold:MS           every answer waits, with all done that it tells of
// They are for requests to the mailbox; STATUS, drop and latency with "token:" or "autodiscover:"
// in front are for those. All calls may come from any thread.
class Faults {
 public:
  // False for a text that is no order.
  [[nodiscard]] bool Add(std::string_view order);
  // Orders of a line each; all of them, or none and false.
  [[nodiscard]] bool AddLines(std::string_view lines);
  void Clear();  // all that are left

  // Each takes one failure off its count.
  bool Take(Cut cut, Place place = Place::kMailbox);
  bool TakeExpired();
  bool TakeBroken();
  bool TakeClose();
  std::optional<int> TakeBusy();  // milliseconds
  struct Status {
    int status = 0;
    int seconds = 0;  // 0: no word about when to come back
  };
  std::optional<Status> TakeStatus(Place place = Place::kMailbox);
  std::string TakeSoapFault();                        // the response code, "" for none
  std::string TakeError(std::string_view operation);  // the same
  int Latency(Place place = Place::kMailbox) const;   // milliseconds
  int Hold() const;                                   // milliseconds

 private:
  struct Counted {
    int count = 0;
    int value = 0;
  };
  using Orders = std::map<std::string, Counted, std::less<>>;
  // The first of them whose count is not used up, with one taken off; null for none.
  static const Orders::value_type* TakeOne(Orders& orders);
  struct Plan {
    std::map<Cut, int> cuts;
    Counted busy;
    Orders statuses;
    Orders soapFaults;
    std::map<std::string, Orders, std::less<>> errors;  // by operation; "" for saves and changes
    int expired = 0;
    int broken = 0;
    int close = 0;
    int latency = 0;
    int hold = 0;
  };
  using Plans = std::map<Place, Plan>;
  using Parts = std::vector<std::string_view>;
  static bool AddTo(Plans& plans, std::string_view order);
  // Each adds an order of its kind, and returns false for any other.
  static bool AddAnywhere(Plan& plan, const Parts& parts);
  static bool AddForMailbox(Plan& plan, const Parts& parts);
  static bool AddCode(Orders& orders, const Parts& parts);

  mutable std::mutex m_mutex;
  mutable Plans m_plans;
};

}  // namespace mailbox
