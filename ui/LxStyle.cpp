#include "ui/LxStyle.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

#include "ui/LxTheme.h"
#include "ui/NamedColors.h"

namespace Lx {

namespace {

using std::string_view;

// Where a declaration tells colours from words; as a colour itself more names are known.
constexpr string_view kColorWords[] = {"white", "black", "transparent", "red", "green", "blue", "gray", "grey"};

constexpr bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

string_view Trim(string_view text) {
    while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
    return text;
}

std::string Lower(string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

// Reads the number at the start of `text`, white space before it included, and cuts it off. Too large a number is
// infinite, too small a one is 0. False, with both unchanged, when there is none.
bool TakeFloat(string_view& text, float& value) {
    string_view rest = text;
    while (!rest.empty() && IsSpace(rest.front())) rest.remove_prefix(1);
    if (rest.size() > 1 && rest.front() == '+' && rest[1] != '-') rest.remove_prefix(1);
    double read = 0;
    const auto [end, code] = std::from_chars(rest.data(), rest.data() + rest.size(), read);
    if (code == std::errc::invalid_argument) return false;
    const string_view number = rest.substr(0, static_cast<size_t>(end - rest.data()));
    if (code == std::errc::result_out_of_range) {
        // from_chars doesn't say which of the two it was.
        const size_t exponent = number.find_first_of("eE");
        const bool tiny = exponent != string_view::npos ? number.substr(exponent).find('-') != string_view::npos
                                                        : number.find_first_of("123456789") > number.find('.');
        read = tiny ? 0 : std::numeric_limits<double>::infinity();
        if (number.front() == '-') read = -read;
    }
    constexpr auto kMost = static_cast<double>(std::numeric_limits<float>::max());
    constexpr float kInfinite = std::numeric_limits<float>::infinity();
    value = read > kMost ? kInfinite : read < -kMost ? -kInfinite : static_cast<float>(read);
    text = rest.substr(number.size());
    return true;
}

// Truncated towards zero, then the low eight bits: 256 reads as 0 and -1 as 255.
uint8_t LowByte(float value) {
    if (!std::isfinite(value)) return 0;
    return static_cast<uint8_t>(static_cast<int>(std::fmod(std::trunc(value), 256.0F)));
}

uint8_t HexDigit(char c) {
    if (IsDigit(c)) return static_cast<uint8_t>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<uint8_t>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<uint8_t>(c - 'A' + 10);
    return 0;
}

Color HexColor(string_view h) {
    const auto single = [h](size_t i) { return static_cast<uint8_t>(HexDigit(h[i]) * 17); };
    const auto pair = [h](size_t i) { return static_cast<uint8_t>(HexDigit(h[2 * i]) * 16 + HexDigit(h[2 * i + 1])); };
    if (h.size() == 3 || h.size() == 4)
        return {single(0), single(1), single(2), h.size() == 4 ? single(3) : uint8_t{255}};
    if (h.size() < 6) return kBlack;
    return {pair(0), pair(1), pair(2), h.size() >= 8 ? pair(3) : uint8_t{255}};
}

// The word before the bracket is anything; only "rgba" has its alpha scaled.
Color FunctionColor(string_view text) {
    const size_t open = text.find('(');
    const size_t close = text.rfind(')');
    if (open == string_view::npos || close == string_view::npos || close < open) return kBlack;
    std::string inside(text.substr(open + 1, close - open - 1));
    std::replace(inside.begin(), inside.end(), ',', ' ');
    float value[] = {0, 0, 0, 255.0F};
    string_view rest = inside;
    for (float& one : value)
        if (!TakeFloat(rest, one)) break;
    if (value[3] <= 1 && text.find("rgba") != string_view::npos) value[3] *= 255;
    return {LowByte(value[0]), LowByte(value[1]), LowByte(value[2]), LowByte(value[3])};
}

bool IsColor(string_view key, string_view value) {
    return value.starts_with('#') || value.starts_with("rgb") || key.find("color") != string_view::npos ||
           std::find(std::begin(kColorWords), std::end(kColorWords), value) != std::end(kColorWords);
}

// Optional sign, digits, at most one point.
bool IsNumber(string_view value) {
    if (!value.empty() && (value.front() == '-' || value.front() == '+')) value.remove_prefix(1);
    return std::any_of(value.begin(), value.end(), IsDigit) && std::count(value.begin(), value.end(), '.') <= 1 &&
           std::all_of(value.begin(), value.end(), [](char c) { return c == '.' || IsDigit(c); });
}

// The low 32 bits of a 64-bit reading that stops at its ends.
int32_t IntOf(string_view number) {
    if (number.front() == '+') number.remove_prefix(1);
    int64_t value = 0;
    const auto [end, code] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (code == std::errc::result_out_of_range)
        value = number.front() == '-' ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
    return static_cast<int32_t>(value);
}

StyleValue Classify(string_view key, string_view value) {
    if (IsColor(key, value)) return CStyleSheet::ParseColor(std::string(value));
    if (value == "true" || value == "false") return value == "true";
    if (value.starts_with('"') || value.starts_with('\''))
        return std::string(value.size() < 2 ? value : value.substr(1, value.size() - 2));
    if (!IsNumber(value)) return std::string(value);
    if (value.find('.') == string_view::npos) return IntOf(value);
    return CStyleSheet::ParseFloat(std::string(value));
}

// As printf writes it with a decimal point, whatever the locale.
template <class... Format>
std::string Printed(double value, Format... format) {
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, value, format...).ptr;
    return {text, end};
}

struct Writer {
    std::string operator()(const Color& c) const {
        return "rgba(" + std::to_string(c.r) + "," + std::to_string(c.g) + "," + std::to_string(c.b) + "," +
               Printed(c.a / 255.0, std::chars_format::fixed, 2) + ")";
    }
    std::string operator()(int32_t value) const { return std::to_string(value); }
    std::string operator()(float value) const {
        return Printed(static_cast<double>(value), std::chars_format::general, 6);
    }
    std::string operator()(const std::string& value) const { return value; }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
};

struct ButtonColors {
    ColorRole background, text, border;
    bool bold;
};

std::string SheetOf(const ButtonColors& colors) {
    const auto rgb = [](ColorRole role) {
        const Color& c = ThemeColor(role);
        return "rgba(" + std::to_string(c.r) + "," + std::to_string(c.g) + "," + std::to_string(c.b) + ",1); ";
    };
    return "background-color: " + rgb(colors.background) + "color: " + rgb(colors.text) +
           "border-color: " + rgb(colors.border) +
           "border-width: 1; border-radius: 6; font-size: 13; font-weight-bold: " + (colors.bold ? "true" : "false") +
           "; font-family: sans-serif;";
}

}  // namespace

void CStyleSheet::SetProperty(const std::string& key, const StyleValue& value) {
    properties_.insert_or_assign(key, value);
}

bool CStyleSheet::HasProperty(const std::string& key) const {
    return properties_.contains(key);
}

StyleValue CStyleSheet::GetProperty(const std::string& key, const StyleValue& def) const {
    const auto it = properties_.find(key);
    return it == properties_.end() ? def : it->second;
}

int CStyleSheet::GetInt(const std::string& key, int def) const {
    return Get<int32_t>(key, def);
}

float CStyleSheet::GetFloat(const std::string& key, float def) const {
    return Get<float>(key, def);
}

std::string CStyleSheet::GetString(const std::string& key, const std::string& def) const {
    return Get<std::string>(key, def);
}

bool CStyleSheet::GetBool(const std::string& key, bool def) const {
    return Get<bool>(key, def);
}

Color CStyleSheet::GetColor(const std::string& key, const Color& def) const {
    const auto it = properties_.find(key);
    if (it == properties_.end()) return def;
    if (const auto* text = std::get_if<std::string>(&it->second)) return ParseColor(*text);
    return Get<Color>(key, def);
}

void CStyleSheet::ParseCSS(const std::string& text) {
    string_view rest = text;
    while (!rest.empty()) {
        const size_t end = rest.find(';');
        const string_view declaration = rest.substr(0, end);
        rest.remove_prefix(end == string_view::npos ? rest.size() : end + 1);
        const size_t colon = declaration.find(':');
        if (colon == string_view::npos) continue;
        const string_view key = Trim(declaration.substr(0, colon));
        SetProperty(std::string(key), Classify(key, Trim(declaration.substr(colon + 1))));
    }
}

CStyleSheet CStyleSheet::Parse(const std::string& text) {
    CStyleSheet sheet;
    sheet.ParseCSS(text);
    return sheet;
}

Color CStyleSheet::ParseColor(const std::string& text) {
    const string_view trimmed = Trim(text);
    const std::string lower = Lower(trimmed);
    for (const auto& named : kNamedColors)
        if (lower == named.name) return named.color;
    return trimmed.starts_with('#') ? HexColor(trimmed.substr(1)) : FunctionColor(trimmed);
}

bool CStyleSheet::ParseBool(const std::string& text) {
    return text == "true" || text == "1" || text == "yes";
}

float CStyleSheet::ParseFloat(const std::string& text) {
    string_view rest = text;
    float value = 0;
    return TakeFloat(rest, value) ? value : 0;
}

std::string CStyleSheet::ToCSS() const {
    std::string css;
    for (const auto& [key, value] : properties_) css += key + ": " + std::visit(Writer{}, value) + "; ";
    return css;
}

const CStyleSheet& CButtonStyle::Get(ButtonState state) const {
    const auto index = static_cast<size_t>(state);
    return sheets_[index < sheets_.size() ? index : 0];
}

CStyleSheet& CButtonStyle::Get(ButtonState state) {
    return const_cast<CStyleSheet&>(static_cast<const CButtonStyle*>(this)->Get(state));
}

CStyleManager::CStyleManager() {
    InitDefaultTheme();
}

CStyleManager& CStyleManager::Instance() {
    static CStyleManager manager;
    return manager;
}

const CButtonStyle& CStyleManager::GetStyle(const std::string& name) const {
    const auto it = styles_.find(name);
    return it == styles_.end() ? default_ : it->second;
}

void CStyleManager::InitDefaultTheme() {
    using enum ColorRole;
    const std::string normal = SheetOf({Button, ButtonText, ButtonBorder, false});
    const std::string hover = SheetOf({ButtonHover, ButtonText, ButtonHoverBorder, false});
    const std::string active = SheetOf({ButtonActive, ButtonActiveText, ButtonActive, true});
    const std::string disabled = SheetOf({ButtonDisabled, ButtonDisabledText, ButtonDisabledBorder, false});
    const std::string* const sheets[] = {&normal, &hover, &active, &normal, &disabled, &active, &active, &active};
    last_ = default_;
    for (unsigned i = 0; i < std::size(sheets); ++i)
        default_.Get(static_cast<ButtonState>(i)) = CStyleSheet::Parse(*sheets[i]);
    styles_["default"] = default_;
}

void CStyleManager::Follow(CButtonStyle& style) const {
    constexpr ButtonState kStates[] = {ButtonState::Normal,       ButtonState::Hover,         ButtonState::Pressed,
                                       ButtonState::Focused,      ButtonState::Disabled,      ButtonState::Checked,
                                       ButtonState::CheckedHover, ButtonState::CheckedPressed};
    for (const ButtonState own : kStates) {
        for (const ButtonState given : kStates) {
            if (style.Get(own) != last_.Get(given)) continue;
            style.Get(own) = default_.Get(given);
            break;
        }
    }
}

double Luminance(const Color& color) {
    return 0.299 * color.r + 0.587 * color.g + 0.114 * color.b;
}

}  // namespace Lx
