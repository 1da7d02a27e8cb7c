// Style sheets: flat lists of declarations "key: value;" in the manner of CSS, without selectors or cascade, and the
// theme that new controls start from. Nothing here fails: what can't be understood is skipped or gives the default.
#pragma once

#include <array>
#include <string>
#include <unordered_map>
#include <variant>

#include "ui/LxTypes.h"

namespace Lx {

// The order of the alternatives is the tag: 0 colour, 1 int, 2 float, 3 string, 4 bool.
using StyleValue = std::variant<Color, int32_t, float, std::string, bool>;

class CStyleSheet {
  public:
    void SetProperty(const std::string& key, const StyleValue& value);
    [[nodiscard]] bool HasProperty(const std::string& key) const;
    [[nodiscard]] StyleValue GetProperty(const std::string& key, const StyleValue& def) const;

    // The default when the key is absent or holds another type; only GetColor reads a string as a colour.
    [[nodiscard]] int GetInt(const std::string& key, int def) const;
    [[nodiscard]] float GetFloat(const std::string& key, float def) const;
    [[nodiscard]] std::string GetString(const std::string& key, const std::string& def) const;
    [[nodiscard]] bool GetBool(const std::string& key, bool def) const;
    [[nodiscard]] Color GetColor(const std::string& key, const Color& def) const;

    // Adds the declarations of `text`; the last one of a key wins.
    void ParseCSS(const std::string& text);
    [[nodiscard]] static CStyleSheet Parse(const std::string& text);
    // Names, #rgb to #rrggbbaa, rgb(...) and rgba(...); opaque black for what isn't one.
    [[nodiscard]] static Color ParseColor(const std::string& text);
    [[nodiscard]] static bool ParseBool(const std::string& text);
    [[nodiscard]] static float ParseFloat(const std::string& text);
    // "key: value; " for each entry, in no particular order.
    [[nodiscard]] std::string ToCSS() const;

    bool operator==(const CStyleSheet&) const = default;

  private:
    template <class T>
    T Get(const std::string& key, const T& def) const {
        const auto it = properties_.find(key);
        const T* value = it == properties_.end() ? nullptr : std::get_if<T>(&it->second);
        return value ? *value : def;
    }

    std::unordered_map<std::string, StyleValue> properties_;
};

enum class ButtonState : unsigned {
    Normal = 0,
    Hover = 1,
    Pressed = 2,
    Focused = 3,
    Disabled = 4,
    Checked = 5,
    CheckedHover = 6,
    CheckedPressed = 7,
};

// One sheet per button state.
class CButtonStyle {
  public:
    // The normal sheet for a value that is no state.
    [[nodiscard]] const CStyleSheet& Get(ButtonState state) const;
    [[nodiscard]] CStyleSheet& Get(ButtonState state);

  private:
    std::array<CStyleSheet, 8> sheets_;
};

// The process-wide theme.
class CStyleManager {
  public:
    static CStyleManager& Instance();

    [[nodiscard]] const CButtonStyle& DefaultButtonStyle() const { return default_; }
    // The sheets of `style` that the last theme gave become those of the theme in force; its own stay.
    void Follow(CButtonStyle& style) const;
    // The style of that name, the default one when there is none. "default" always is.
    [[nodiscard]] const CButtonStyle& GetStyle(const std::string& name) const;

    // Makes the default style of the theme's colours. Whoever has a copy of the old one keeps it.
    void InitDefaultTheme();

  private:
    CStyleManager();

    std::unordered_map<std::string, CButtonStyle> styles_;
    CButtonStyle default_, last_;
};

// 0.299 r + 0.587 g + 0.114 b.
[[nodiscard]] double Luminance(const Color& color);
constexpr double kDarkBelow = 140;  // a background of a lower luminance takes light text

}  // namespace Lx
