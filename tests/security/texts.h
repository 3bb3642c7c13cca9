/// What strangers might type: the texts that the injection tests put into every text argument.
#pragma once

#include <string>
#include <vector>

namespace security {

using texts = std::vector<std::string>;

/// Every text of one byte, and the empty one: a NUL ends a text, so it is not among its bytes.
texts one_byte_texts();

/// Every text of two bytes.
texts two_byte_texts();

/// Every pair of the bytes that mean something to a shell, a configuration file or a terminal, or
/// that stand for a whole class.
texts telling_pairs();

/// Texts that have broken into appliances.
texts attack_texts();

/// Texts around the end of a buffer of so many bytes, plain and with bytes that need quoting.
texts texts_at_limit(std::size_t capacity);

/// The text as a test may print it.
std::string shown(const std::string& text);

}  // namespace security
