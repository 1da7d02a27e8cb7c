#include "ui/LxTheme.h"

#include <iterator>

#include "ui/LxStyle.h"

namespace Lx {

namespace {

using enum ColorRole;

constexpr Color Opaque(uint32_t rgb) {
    return {static_cast<uint8_t>(rgb >> 16), static_cast<uint8_t>(rgb >> 8), static_cast<uint8_t>(rgb), 255};
}

constexpr struct {
    ColorRole role;
    Color light, dark;
} kColors[] = {
    {AppBackground, Opaque(0xF5F7FB), Opaque(0x141A24)},
    {AppHeader, Opaque(0xFFFFFF), Opaque(0x1B2330)},
    {AppTitle, Opaque(0x0D2B5E), Opaque(0xDCE6F7)},
    {AppLine, Opaque(0xDFE4EC), Opaque(0x2D3747)},
    {AppBar, Opaque(0x10203A), Opaque(0x0B111B)},
    {AppBarText, Opaque(0xCDD8EC), Opaque(0xCDD8EC)},
    {AppPanel, Opaque(0xFFFFFF), Opaque(0x222C3B)},
    {AppText, Opaque(0x101828), Opaque(0xE7ECF4)},
    {AppQuietText, Opaque(0x5A687E), Opaque(0xA3B0C4)},
    {AppSubtitle, Opaque(0x788498), Opaque(0x9AA8BE)},
    {AppBorder, Opaque(0xC8D2E0), Opaque(0x46536A)},
    {AppSuccess, Opaque(0x208C52), Opaque(0x4CC38A)},
    {AppError, Opaque(0xC63434), Opaque(0xFF8A80)},
    {AppButton, Opaque(0x10203A), Opaque(0x24395E)},
    {AppButtonText, Opaque(0xFFFFFF), Opaque(0xFFFFFF)},
    {AppButtonHover, Opaque(0x1E3E74), Opaque(0x35538A)},
    {AppCancel, Opaque(0xBE2E2E), Opaque(0xA83232)},
    {AppFooter, Opaque(0x243046), Opaque(0x0B111B)},
    {AppCredit, Opaque(0xC6D2E6), Opaque(0xB8C6DE)},
    {AppOnFooter, Opaque(0xFFFFFF), Opaque(0xF2F5FA)},
    {AppOnCancel, Opaque(0xFFFFFF), Opaque(0xFFFFFF)},
    {AppView, Opaque(0xE2E6EE), Opaque(0x0E131C)},
    {AppSubtitleText, Opaque(0x6D778A), Opaque(0x9AA8BE)},
    {AppSuccessText, Opaque(0x1E814C), Opaque(0x4CC38A)},
    {AppSuccessOnFooter, Opaque(0x54A77A), Opaque(0x4CC38A)},
    {AppErrorOnFooter, Opaque(0xDA7C7C), Opaque(0xFF8A80)},

    {Window, Opaque(0xF0F0F0), Opaque(0x171D28)},
    {Accent, Opaque(0x0959CC), Opaque(0x6AA5FF)},
    {Selection, Opaque(0xE1ECFC), Opaque(0x22395F)},
    {SelectedText, Opaque(0xB9D4FA), Opaque(0x2F528C)},
    {Hover, Opaque(0xF2F5FA), Opaque(0x253041)},
    {QuietText, Opaque(0x616B7D), Opaque(0xA7B3C6)},
    {HintText, Opaque(0x6C7383), Opaque(0x95A1B5)},
    {Hairline, Opaque(0xE5E8EE), Opaque(0x2D3747)},
    {Field, Opaque(0xFFFFFF), Opaque(0x1B2330)},
    {ListHeader, Opaque(0xF6F7FA), Opaque(0x202938)},
    {CardGround, Opaque(0xF8F9FC), Opaque(0x171E2A)},
    {CardBorder, Opaque(0xDBE0E9), Opaque(0x364154)},
    {Pill, Opaque(0xEBEFF6), Opaque(0x2B3546)},
    {PopupBorder, Opaque(0xBEC3CF), Opaque(0x4A566A)},
    {PopupShadow, {16, 32, 58, 12}, {0, 0, 0, 60}},
    {Track, Opaque(0xE9ECF2), Opaque(0x222B39)},
    {Thumb, Opaque(0xB0B6C2), Opaque(0x556176)},
    {ThumbDragged, Opaque(0x8C93A1), Opaque(0x71809A)},
    {View, Opaque(0xE2E5EC), Opaque(0x10151E)},
    {ViewMessage, Opaque(0x788091), Opaque(0x95A1B5)},
    // A page is white in either set.
    {Paper, Opaque(0xFFFFFF), Opaque(0xFFFFFF)},
    {PaperMessage, Opaque(0x788091), Opaque(0x5A687E)},
    {PaperBorder, Opaque(0xC6CCD8), Opaque(0x46536A)},
    {PaperShadow, {0, 0, 0, 45}, {0, 0, 0, 120}},
    {DocMessage, Opaque(0x606775), Opaque(0x95A1B5)},
    {DocPaperMessage, Opaque(0x6F7787), Opaque(0x5A687E)},

    {Button, Opaque(0xF0F0F2), Opaque(0x2A3445)},
    {ButtonText, Opaque(0x0D182C), Opaque(0xE7ECF4)},
    {ButtonBorder, Opaque(0xC8C8D2), Opaque(0x4A566A)},
    {ButtonHover, Opaque(0xE5E9F0), Opaque(0x344055)},
    {ButtonHoverBorder, Opaque(0xAAAFBE), Opaque(0x5E6C84)},
    {ButtonActive, Opaque(0x0959CC), Opaque(0x1F63C6)},
    {ButtonActiveText, Opaque(0xFFFFFF), Opaque(0xFFFFFF)},
    {ButtonDisabled, Opaque(0xF5F5F7), Opaque(0x1E2633)},
    {ButtonDisabledText, Opaque(0x969BA5), Opaque(0x768297)},
    {ButtonDisabledBorder, Opaque(0xE1E1E6), Opaque(0x303A4A)},
    {PlainButton, Opaque(0xDCDCDC), Opaque(0x3A4557)},
    {PlainBorder, Opaque(0xB4B4B4), Opaque(0x5E6C84)},
    {PlainRing, Opaque(0x0078D7), Opaque(0x6AA5FF)},
    {PlainHover, Opaque(0xE7ECF5), Opaque(0x344055)},
    {PlainPressed, Opaque(0xD6DEED), Opaque(0x1E2838)},

    {TextOnDark, Opaque(0xFFFFFF), Opaque(0xFFFFFF)},
    {TextOnLight, Opaque(0x0D182C), Opaque(0x0D182C)},
    {LabelOnDark, Opaque(0xEBEEF4), Opaque(0xEBEEF4)},
    {LabelOnLight, Opaque(0x1E1E1E), Opaque(0x1E1E1E)},
    {DisabledLight, Opaque(0x96969B), Opaque(0x96969B)},
    {DisabledDark, Opaque(0x8C9098), Opaque(0x8C9098)},

    {PageSelection, {38, 118, 236, 82}, {38, 118, 236, 90}},
    {SearchHit, {255, 206, 0, 96}, {255, 206, 0, 96}},
    {CurrentHit, {255, 122, 0, 140}, {255, 122, 0, 140}},
    {FlashOutline, {9, 89, 204, 220}, {9, 89, 204, 220}},
};

constexpr bool InOrder() {
    for (size_t i = 0; i < std::size(kColors); ++i)
        if (static_cast<size_t>(kColors[i].role) != i) return false;
    return std::size(kColors) == static_cast<size_t>(ColorRole::Count);
}
static_assert(InOrder());

constexpr TextPair kTextPairs[] = {
    {AppTitle, AppHeader},
    {AppTitle, AppBackground},
    {AppTitle, AppPanel},
    {AppSubtitleText, AppHeader},
    {AppBarText, AppBar},
    {AppText, AppHeader},
    {AppText, AppBackground},
    {AppText, AppPanel},
    {AppText, CardGround},
    {AppText, ListHeader},
    {AppText, Hover},
    {AppText, Selection},
    {AppText, Field},
    {AppQuietText, AppHeader},
    {AppQuietText, AppBackground},
    {AppQuietText, AppPanel},
    {AppError, AppHeader},
    {AppError, AppBackground},
    {AppError, AppPanel},
    {AppError, Field},
    {AppErrorOnFooter, AppFooter},
    {AppSuccessText, AppHeader},
    {AppSuccessText, AppBackground},
    {AppSuccessText, AppPanel},
    {AppSuccessOnFooter, AppFooter},
    {AppOnFooter, AppFooter},
    {AppCredit, AppFooter},
    {AppButtonText, AppButton},
    {AppButtonText, AppButtonHover},
    {AppOnCancel, AppCancel},
    {ButtonText, Button},
    {ButtonText, ButtonHover},
    {ButtonText, Field},
    {ButtonText, CardGround},
    {ButtonText, Selection},
    {ButtonText, SelectedText},
    {ButtonText, Hover},
    {ButtonActiveText, ButtonActive},
    {HintText, Field},
    {HintText, CardGround},
    {QuietText, Field},
    {QuietText, ListHeader},
    {QuietText, CardGround},
    {QuietText, Pill},
    {QuietText, Selection},
    {QuietText, Hover},
    {QuietText, Window},
    {QuietText, AppBackground},
    {DocMessage, View},
    {DocMessage, AppView},
    {DocPaperMessage, Paper},
};

ThemeSet g_set = ThemeSet::Light;

}  // namespace

const Color& ThemeColor(ColorRole role, ThemeSet set) {
    const auto& row = kColors[static_cast<size_t>(role)];
    return set == ThemeSet::Dark ? row.dark : row.light;
}

ThemeSet CurrentTheme() {
    return g_set;
}

const Color& ThemeColor(ColorRole role) {
    return ThemeColor(role, g_set);
}

Color InThemeNow(const Color& color, std::initializer_list<ColorRole> roles) {
    for (const ColorRole role : roles)
        if (color == ThemeColor(role, ThemeSet::Light) || color == ThemeColor(role, ThemeSet::Dark))
            return ThemeColor(role);
    return color;
}

std::span<const TextPair> TextPairs() {
    return kTextPairs;
}

void SetTheme(ThemeSet set) {
    g_set = set;
    CStyleManager::Instance().InitDefaultTheme();
}

}  // namespace Lx
