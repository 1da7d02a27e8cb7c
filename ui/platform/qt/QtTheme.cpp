#include "ui/platform/qt/QtTheme.h"

#include <QApplication>
#include <QPalette>
#include <QToolTip>
#include <optional>

#include "ui/LxTheme.h"
#include "ui/platform/qt/QtApp.h"
#include "ui/platform/qt/QtView.h"

namespace Lx {

namespace {

constexpr int kFontSize = 13;
constexpr int kTipFontSize = 12;
constexpr int kTipReach = 10;

constexpr struct {
    QPalette::ColorRole qt;
    ColorRole role;
} kPalette[] = {
    {QPalette::Window, ColorRole::AppBackground}, {QPalette::WindowText, ColorRole::AppText},
    {QPalette::Base, ColorRole::Field},           {QPalette::AlternateBase, ColorRole::ListHeader},
    {QPalette::Text, ColorRole::AppText},         {QPalette::PlaceholderText, ColorRole::HintText},
    {QPalette::Button, ColorRole::Button},        {QPalette::ButtonText, ColorRole::ButtonText},
    {QPalette::Light, ColorRole::AppPanel},       {QPalette::Midlight, ColorRole::ButtonHover},
    {QPalette::Mid, ColorRole::AppBorder},        {QPalette::Dark, ColorRole::ButtonHoverBorder},
    {QPalette::Highlight, ColorRole::Selection},  {QPalette::HighlightedText, ColorRole::AppText},
    {QPalette::Link, ColorRole::Accent},          {QPalette::ToolTipBase, ColorRole::AppPanel},
    {QPalette::ToolTipText, ColorRole::AppText},
};

QColor Of(ColorRole role) {
    const Color& c = ThemeColor(role);
    return {c.r, c.g, c.b, c.a};
}

QPalette PaletteOfTheme() {
    QPalette palette;
    for (const auto& row : kPalette) palette.setColor(row.qt, Of(row.role));
    for (const QPalette::ColorRole text : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, text, Of(ColorRole::ButtonDisabledText));
    return palette;
}

// Labels and what is disabled have tool tips too.
const CControl* ControlAt(const CWindow& window, const Point& pt) {
    for (auto it = window.controls.rbegin(); it != window.controls.rend(); ++it) {
        if ((*it)->visible && (*it)->rect.Contains(pt)) return *it;
    }
    return nullptr;
}

}  // namespace

void FollowTheme() {
    static std::optional<ThemeSet> followed;
    if (followed == CurrentTheme()) return;
    followed = CurrentTheme();
    QApplication::setFont(CQtApp::s_pInstance->Fonts().Get("system", kFontSize, false, false).font);
    const QPalette palette = PaletteOfTheme();
    QApplication::setPalette(palette);
    QToolTip::setPalette(palette);
}

void ShowToolTip(CQtView& view, const QHelpEvent& e) {
    const CWindow* window = view.Owner();
    const Point at{e.pos().x(), e.pos().y()};
    const CControl* control = window == nullptr            ? nullptr
                              : window->overlay != nullptr ? window->overlay
                                                           : ControlAt(*window, at);
    std::string text;
    if (control != nullptr) Contain([&] { text = control->ToolTip(at); });
    if (text.empty()) return QToolTip::hideText();
    FollowTheme();
    QToolTip::setFont(CQtApp::s_pInstance->Fonts().Get("system", kTipFontSize, false, false).font);
    // Rich text is broken into lines; what is shown is no markup.
    const QString shown = "<qt>" + QString::fromStdString(text).toHtmlEscaped().replace('\n', "<br>") + "</qt>";
    // It goes when the pointer does: a list has another text one row on.
    QToolTip::showText(e.globalPos(), shown, &view,
                       QRect(at.x - kTipReach, at.y - kTipReach, 2 * kTipReach, 2 * kTipReach));
}

}  // namespace Lx
