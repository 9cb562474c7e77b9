// Columns as base64 of the smallest whole numbers that hold them.
#include "columns.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <unordered_map>

namespace tavo::tool {

namespace {

template <class T>
std::string packed(const std::vector<double>& values, double offset, double steps) {
  std::string bytes(values.size() * sizeof(T), '\0');
  for (size_t i = 0; i < values.size(); ++i) {
    T step = std::numeric_limits<T>::min();
    if (!std::isnan(values[i])) step = static_cast<T>(std::llround((values[i] - offset) * steps));
    std::memcpy(bytes.data() + i * sizeof step, &step, sizeof step);
  }
  return bytes;
}

}  // namespace

std::string base64(std::string_view bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    uint32_t word = 0;
    for (size_t j = i; j < i + 3; ++j) {
      word = word << 8 | (j < bytes.size() ? static_cast<unsigned char>(bytes[j]) : 0U);
    }
    for (size_t j = 0; j < 4; ++j) {
      text += i + j > bytes.size() ? '=' : kDigits[word >> (18 - 6 * j) & 63];
    }
  }
  return text;
}

Json numbersJson(const std::vector<double>& values, int decimals) {
  Json json{{"rows", values.size()}, {"decimals", decimals}};
  double low = std::numeric_limits<double>::infinity();
  double high = -low;
  for (const double value : values) {
    if (std::isnan(value)) continue;
    low = std::min(low, value);
    high = std::max(high, value);
  }
  const double steps = std::pow(10, decimals);
  const double offset = low > high ? 0 : std::floor(low);
  const double range = low > high ? 0 : (high - offset) * steps;
  if (range <= INT8_MAX) {
    json["type"] = "i8";
    json["data"] = base64(packed<int8_t>(values, offset, steps));
  } else if (range <= INT16_MAX) {
    json["type"] = "i16";
    json["data"] = base64(packed<int16_t>(values, offset, steps));
  } else if (range <= INT32_MAX) {
    json["type"] = "i32";
    json["data"] = base64(packed<int32_t>(values, offset, steps));
  } else {
    json["type"] = "f64";
    json["data"] =
        base64({reinterpret_cast<const char*>(values.data()), values.size() * sizeof(double)});
    return json;
  }
  json["offset"] = offset;
  return json;
}

Json textsJson(const std::vector<std::string>& values) {
  Json json{{"rows", values.size()}};
  std::unordered_map<std::string, size_t> places;
  std::vector<double> which;
  Json texts = Json::array();
  for (const std::string& value : values) {
    const auto [place, isNew] = places.emplace(value, places.size());
    if (isNew) texts.push_back(value);
    which.push_back(static_cast<double>(place->second));
  }
  const bool repeats = 2 * texts.size() < values.size();
  json["texts"] = repeats ? std::move(texts) : Json(values);
  if (repeats) json["data"] = numbersJson(which, 0);
  return json;
}

std::string scriptText(const Json& value) {
  const std::string json = value.dump();
  std::string text;
  text.reserve(json.size());
  for (const char c : json) c == '<' ? text.append("\\u003c") : text.append(1, c);
  return text;
}

}  // namespace tavo::tool
