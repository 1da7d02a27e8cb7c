// Every colour of the toolkit and of the windows made with it, by what it is for, in a light and a dark set. No other
// file holds a colour of its own.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <span>

#include "ui/LxTypes.h"

namespace Lx {

enum class ColorRole : size_t {
    // The application's windows. They come first, in the order of its palette.
    AppBackground,
    AppHeader,
    AppTitle,
    AppLine,
    AppBar,
    AppBarText,
    AppPanel,
    AppText,
    AppQuietText,
    AppSubtitle,
    AppBorder,
    AppSuccess,
    AppError,
    AppButton,
    AppButtonText,
    AppButtonHover,
    AppCancel,
    AppFooter,
    AppCredit,
    // Beyond the palette.
    AppOnFooter,  // text of the status band
    AppOnCancel,  // text of a button that gives up
    AppView,      // around the page
    // A colour of the palette as text where it couldn't be read: the same hue, as near as 4.5 to 1 allows.
    AppSubtitleText,     // on the header
    AppSuccessText,      // on the window, a panel, the header
    AppSuccessOnFooter,  // on the status band
    AppErrorOnFooter,

    Window,
    Accent,  // focus, marks
    Selection,
    SelectedText,  // behind the selected part of an edit's text
    Hover,
    QuietText,  // captions
    HintText,   // placeholders
    Hairline,
    Field,
    ListHeader,
    CardGround,
    CardBorder,
    Pill,
    PopupBorder,
    PopupShadow,
    Track,
    Thumb,
    ThumbDragged,
    View,
    ViewMessage,
    Paper,
    PaperMessage,
    PaperBorder,
    PaperShadow,
    DocMessage,  // of the document view: around its pages, and on one
    DocPaperMessage,

    // Buttons, and what fields take from them.
    Button,
    ButtonText,
    ButtonBorder,
    ButtonHover,
    ButtonHoverBorder,
    ButtonActive,
    ButtonActiveText,
    ButtonDisabled,
    ButtonDisabledText,
    ButtonDisabledBorder,
    // Where a button's own sheet doesn't say.
    PlainButton,
    PlainBorder,
    PlainRing,
    PlainHover,
    PlainPressed,

    // Text that goes by how light its background is.
    TextOnDark,
    TextOnLight,
    LabelOnDark,
    LabelOnLight,
    DisabledLight,
    DisabledDark,

    // Over a page, so that what lies under them is read.
    PageSelection,
    SearchHit,
    CurrentHit,
    FlashOutline,

    Count,
};

enum class ThemeSet { Light, Dark };

[[nodiscard]] const Color& ThemeColor(ColorRole role, ThemeSet set);
[[nodiscard]] ThemeSet CurrentTheme();
// Of the set in force.
[[nodiscard]] const Color& ThemeColor(ColorRole role);

// A text and what it is drawn on, in either set. Of disabled controls only the shape is to be seen, so they aren't
// here.
struct TextPair {
    ColorRole text, ground;
};
[[nodiscard]] std::span<const TextPair> TextPairs();

// For a colour that is one of the roles' in either set, that of the set in force; any other stays.
[[nodiscard]] Color InThemeNow(const Color& color, std::initializer_list<ColorRole> roles);

// For what is made from now on: windows and controls take their colours when they are made. At the start it is Light.
void SetTheme(ThemeSet set);

}  // namespace Lx
