/// Calls of exported functions with a text of the test's in one of their text arguments.
///
///     driven("share_del", share_del, word("a"), word("samba"))
///
/// A text argument is one place for a text: a string, a buffer that is changed in place, or a text
/// field of a record. Everything else keeps what the table gives it.
#pragma once

#include <cxxabi.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <typeinfo>
#include <utility>
#include <vector>

#include "common/families.h"
#include "tests/security/record_fields.h"

namespace security {

// --- Kinds of arguments --------------------------------------------------------------------------
// Each says which places it has and makes the value for a call, which lives until the call is over.

/// A terminated text that is read.
struct word {
  explicit word(std::string usual_text) : usual(std::move(usual_text)) {}
  std::vector<text_place> places() const { return {{}}; }
  struct value {
    std::unique_ptr<char[]> bytes;  // of exactly this size, so that reading on is noticed
    const char* get() const { return bytes.get(); }
  };
  value make(const put_text& put, std::size_t first) const {
    const std::string& text = put.in(first, usual);
    auto bytes = std::make_unique<char[]>(text.size() + 1);
    text.copy(bytes.get(), text.size());
    return {std::move(bytes)};
  }
  std::string usual;
};

/// A text that is changed in place, in a buffer of so many bytes.
struct buffer {
  buffer(std::string usual_text, std::size_t size) : usual(std::move(usual_text)), capacity(size) {}
  std::vector<text_place> places() const { return {{"", capacity}}; }
  struct value {
    std::unique_ptr<char[]> bytes;
    char* get() const { return bytes.get(); }
  };
  value make(const put_text& put, std::size_t first) const {
    auto bytes = std::make_unique<char[]>(capacity);
    const std::string& text = put.in(first, usual);
    text.copy(bytes.get(), std::min(text.size(), capacity - 1));
    return {std::move(bytes)};
  }
  std::string usual;
  std::size_t capacity;
};

/// A buffer that is only written to.
struct output {
  explicit output(std::size_t size) : capacity(size) {}
  std::vector<text_place> places() const { return {}; }
  buffer::value make(const put_text&, std::size_t) const {
    return {std::make_unique<char[]>(capacity)};
  }
  std::size_t capacity;
};

/// Anything without a text: numbers, and room for results.
template <class T>
struct plain {
  explicit plain(T given) : usual(given) {}
  std::vector<text_place> places() const { return {}; }
  struct value {
    mutable T held;
    T& get() const { return held; }
  };
  value make(const put_text&, std::size_t) const { return {usual}; }
  T usual;
};

/// The address of a result.
template <class T>
struct result_of {
  std::vector<text_place> places() const { return {}; }
  struct value {
    mutable T held{};
    T* get() const { return &held; }
  };
  value make(const put_text&, std::size_t) const { return {}; }
};

/// An open stream that holds a text of its own.
struct stream {
  explicit stream(std::string content) : text(std::move(content)) {}
  std::vector<text_place> places() const { return {}; }
  struct value {
    explicit value(const std::string& content) : file(std::tmpfile()) {
      std::fwrite(content.data(), 1, content.size(), file);
      std::rewind(file);
    }
    ~value() { std::fclose(file); }
    value(const value&) = delete;
    value& operator=(const value&) = delete;
    FILE* get() const { return file; }
    FILE* file;
  };
  value make(const put_text&, std::size_t) const { return value(text); }
  std::string text;
};

/// The descriptor of a file of the machine.
struct opened {
  explicit opened(std::string file) : path(std::move(file)) {}
  std::vector<text_place> places() const { return {}; }
  struct value {
    explicit value(const std::string& path) : number(open(path.c_str(), O_RDWR | O_CLOEXEC)) {}
    ~value() { close(number); }
    value(const value&) = delete;
    value& operator=(const value&) = delete;
    int get() const { return number; }
    int number;
  };
  value make(const put_text&, std::size_t) const { return value(path); }
  std::string path;
};

/// Receives a descriptor, and closes it.
struct opens {
  std::vector<text_place> places() const { return {}; }
  struct value {
    value() = default;
    ~value() {
      if (number >= 0) close(number);
    }
    value(const value&) = delete;
    value& operator=(const value&) = delete;
    int& get() const { return number; }
    mutable int number = -1;
  };
  value make(const put_text&, std::size_t) const { return value(); }
};

/// A list, of which the last record may hold the text: those before it must not be harmed.
template <class List>
struct list_of {
  using record_type = orv::record_of<List>;
  using fill = std::function<void(record_type&)>;
  explicit list_of(std::vector<fill> each) : records(std::move(each)) {}
  std::vector<text_place> places() const { return places_of(fields_of<record_type>()); }
  struct value {
    value(const list_of& kind, const put_text& put, std::size_t first) {
      orv::list_init(&list);
      for (const fill& each : kind.records) {
        record_type* const record = orv::append(&list);
        prepare_lists(*record);
        each(*record);
        if (&each == &kind.records.back()) put_into(*record, put, first);
      }
    }
    ~value() { orv::list_fini(&list); }
    value(const value&) = delete;
    value& operator=(const value&) = delete;
    List* get() const { return &list; }
    mutable List list;
  };
  value make(const put_text& put, std::size_t first) const { return value(*this, put, first); }
  std::vector<fill> records;
};

/// A record.
template <class Record>
struct record {
  using fill = std::function<void(Record&)>;
  explicit record(fill usual_fields) : usual(std::move(usual_fields)) {}
  std::vector<text_place> places() const { return places_of(fields_of<Record>()); }
  struct value {
    value(const record& kind, const put_text& put, std::size_t first) {
      prepare_lists(held);
      kind.usual(held);
      put_into(held, put, first);
    }
    ~value() { release_lists(held); }
    value(const value&) = delete;
    value& operator=(const value&) = delete;
    Record* get() const { return &held; }
    mutable Record held{};
  };
  value make(const put_text& put, std::size_t first) const { return value(*this, put, first); }
  fill usual;
};

/// The same, handed over as a copy.
template <class Record>
struct record_copy : record<Record> {
  using record<Record>::record;
  struct value : record<Record>::value {
    using record<Record>::value::value;
    Record get() const { return this->held; }
  };
  value make(const put_text& put, std::size_t first) const { return value(*this, put, first); }
};

// --- Calls ---------------------------------------------------------------------------------------

/// An exported function with the arguments of a usual call, and what it may do.
class driven_call {
 public:
  virtual ~driven_call() = default;
  virtual void call(const put_text& put) const = 0;

  /// Files that the function may make, change or remove.
  driven_call& changes(const std::vector<std::string>& paths) {
    changed.insert(changed.end(), paths.begin(), paths.end());
    return *this;
  }
  /// The place whose text is the path of a file that the function may change.
  driven_call& changes_file_named_by(const std::string& place) {
    path_places.push_back(place);
    return *this;
  }
  /// The usual text is a word of the function's commands there: so is any other that can be one.
  driven_call& runs_with(const std::vector<std::string>& ids) {
    word_places.insert(word_places.end(), ids.begin(), ids.end());
    return *this;
  }
  /// The place whose text is a list of words, separated by commas.
  driven_call& runs_with_list(const std::string& place) {
    list_places.push_back(place);
    return *this;
  }
  /// The place takes a password that is fed to a command through echo.
  driven_call& echoes(const std::string& place) {
    password_places.push_back(place);
    return *this;
  }

  /// The text names what is not there yet: the machine does not know it.
  driven_call& of_a_new_name() {
    is_known = false;
    return *this;
  }

  bool is_known = true;
  std::string name;
  std::string signature;  // as the committed list of symbols has it
  std::vector<text_place> places;

  std::vector<std::string> changed;
  std::vector<std::string> path_places;
  std::vector<std::string> word_places;
  std::vector<std::string> list_places;
  std::vector<std::string> password_places;
};

template <class Function, class... Kinds>
class call_of : public driven_call {
 public:
  call_of(Function* called, Kinds... given) : function_(called), kinds_(std::move(given)...) {
    std::size_t argument = 0;
    std::apply([&](const auto&... kind) { (add_places(kind.places(), argument++), ...); }, kinds_);
  }

  void call(const put_text& put) const override {
    call_with(put, std::index_sequence_for<Kinds...>());
  }

 private:
  void add_places(std::vector<text_place> all, std::size_t argument) {
    first_places_[argument] = places.size();
    for (text_place& place : all) {
      const std::string number = std::to_string(argument);
      place.id = place.id.empty() ? number : number + '.' + place.id;
      places.push_back(place);
    }
  }

  template <std::size_t... Index>
  void call_with(const put_text& put, std::index_sequence<Index...>) const {
    (void)(*function_)(std::get<Index>(kinds_).make(put, first_places_[Index]).get()...);
  }

  Function* function_;
  std::tuple<Kinds...> kinds_;
  std::array<std::size_t, sizeof...(Kinds)> first_places_{};
};

/// "(char const*, int)" of a function type.
std::string parameters_of(const std::type_info& function);

template <class Function, class... Kinds>
std::shared_ptr<driven_call> driven(const std::string& name, Function* function, Kinds... kinds) {
  auto call = std::make_shared<call_of<Function, Kinds...>>(function, std::move(kinds)...);
  call->name = name;
  call->signature = name + parameters_of(typeid(Function));
  return call;
}

}  // namespace security
