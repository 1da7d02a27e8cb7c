// What the side pane shows: asked of the document, and kept while it lives.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "ui/viewer/SidePaneInside.h"

namespace Lx {

namespace {

constexpr unsigned kSettleMs = 200;
constexpr size_t kOpenAtFirst = 60;  // an outline that is longer shows its first level alone

}  // namespace

std::string SizeText(int64_t bytes) {
    if (bytes < 0) return {};
    if (bytes < 1000) return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    constexpr const char* kUnits[] = {"kB", "MB", "GB"};
    double size = static_cast<double>(bytes) / 1000;
    size_t unit = 0;
    for (; size >= 999.5 && unit + 1 < std::size(kUnits); ++unit) size /= 1000;
    char text[32];
    std::snprintf(text, sizeof text, size < 9.95 && unit > 0 ? "%.1f %s" : "%.0f %s", size, kUnits[unit]);
    std::string spanish = text;
    std::replace(spanish.begin(), spanish.end(), '.', ',');
    return spanish;
}

void CSidePane::Inside::Renew() {
    for (List& list : lists) list = {};
    outline.clear();
    folded.clear();
    shown.clear();
    attachments.clear();
    noThumbnail.clear();
    drawing = 0;
    hovered = -1;
    epoch = Doc().epoch;
    page = view.GetCurrentPage();
    lists[0].chosen = page;
    Ask();
    Repaint();
}

void CSidePane::Inside::Ask() {
    Pdf::IPages* const pages = view.Pages();
    List& list = Now();
    if (!pages || list.asked || tab == Tab::Thumbnails) return;
    list.asked = true;
    const auto arrived = [this, &list](Pdf::Outcome outcome) {
        list.there = true;
        list.failed = outcome != Pdf::Outcome::Good;
        Repaint();
    };
    if (tab == Tab::Outline) {
        (void)pages->Outline(Guarded([this, arrived](Pdf::Outcome outcome, std::vector<Pdf::OutlineItem> items) {
            outline = std::move(items);
            folded.assign(outline.size(), outline.size() > kOpenAtFirst);
            Unfold();
            arrived(outcome);
        }));
    } else {
        (void)pages->Attachments(Guarded([this, arrived](Pdf::Outcome outcome, std::vector<Pdf::Attachment> files) {
            attachments = std::move(files);
            arrived(outcome);
        }));
    }
}

// The chosen row stays, or the one that has taken it in.
void CSidePane::Inside::Unfold() {
    List& list = lists[static_cast<size_t>(Tab::Outline)];
    const auto was = static_cast<size_t>(list.chosen);
    const int32_t item = list.chosen >= 0 && was < shown.size() ? shown[was] : -1;
    shown.clear();
    int32_t hidden = INT32_MAX;  // what is deeper than this
    for (size_t i = 0; i < outline.size(); ++i) {
        const int32_t depth = outline[i].depth;
        if (depth > hidden) continue;
        shown.push_back(static_cast<int32_t>(i));
        hidden = folded[i] ? depth : INT32_MAX;
    }
    list.chosen = static_cast<int32_t>(std::upper_bound(shown.begin(), shown.end(), item) - shown.begin()) - 1;
}

bool CSidePane::Inside::HasChildren(int32_t item) const {
    const size_t next = static_cast<size_t>(item) + 1;
    return next < outline.size() && outline[next].depth > outline[next - 1].depth;
}

int32_t CSidePane::Inside::Rows() const {
    if (tab == Tab::Thumbnails) return view.HasDocument() ? view.GetPageCount() : 0;
    return static_cast<int32_t>(tab == Tab::Outline ? shown.size() : attachments.size());
}

std::string CSidePane::Inside::NameOf(int32_t row) const {
    const auto at = static_cast<size_t>(row);
    if (tab == Tab::Thumbnails) return "Página " + std::to_string(row + 1);
    if (tab == Tab::Outline) return outline[static_cast<size_t>(shown[at])].title;
    const std::string size = SizeText(attachments[at].bytes);
    return attachments[at].name + (size.empty() ? "" : ", " + size);
}

std::string CSidePane::Inside::Message() const {
    if (!view.HasDocument() || tab == Tab::Thumbnails || !Now().there || Rows() > 0) return {};
    if (Now().failed)
        return tab == Tab::Outline ? "No se pudo leer el índice." : "No se pudieron leer los ficheros adjuntos.";
    return tab == Tab::Outline ? "El documento no tiene índice." : "El documento no lleva ficheros adjuntos.";
}

void CSidePane::Inside::Activate(int32_t row) {
    if (row < 0 || row >= Rows()) return;
    if (tab == Tab::Thumbnails) {
        (void)view.SetCurrentPage(row);
    } else if (tab == Tab::Outline) {
        Doc().Follow(Pdf::Target(outline[static_cast<size_t>(shown[static_cast<size_t>(row)])].target));
    } else if (pane.onSave) {
        const auto save = pane.onSave;
        save(row, Pdf::Attachment(attachments[static_cast<size_t>(row)]));
    }
}

void CSidePane::Inside::SetFolded(int32_t row, bool fold) {
    const int32_t item = shown[static_cast<size_t>(row)];
    if (!HasChildren(item) || folded[static_cast<size_t>(item)] == fold) return;
    folded[static_cast<size_t>(item)] = fold;
    Unfold();
    Arrange();
    Repaint();
}

Pdf::TileSpec CSidePane::Inside::ThumbnailOf(int32_t of) const {
    const PageLayout& layout = Doc().layout;
    const int32_t turn = layout.Setup().turn;
    const Rect box = PictureBox(of);
    const double scale = layout.Setup().scale;
    const auto width = static_cast<int32_t>(std::max<int64_t>(1, std::llround(box.w * scale)));
    return {of, width, turn, {0, 0, width, Pdf::HeightOf(layout.SizeOf(of), turn, width)}};
}

void CSidePane::Inside::Settle() {
    if (tab != Tab::Thumbnails) return;
    Doc().Later(kSettleMs, [this, number = ++settling, token = std::weak_ptr<int>(alive)] {
        if (!token.expired() && number == settling) AskThumbnails();
    });
}

// One at a time, of those in sight: a page that is drawn gives its own.
void CSidePane::Inside::AskThumbnails() {
    Pdf::IPages* const pages = view.Pages();
    if (!pages || !pane.visible || tab != Tab::Thumbnails || drawing != 0) return;
    CDocView::Inside& doc = Doc();
    doc.thumbnails = InSight();
    const auto [first, last] = doc.thumbnails;
    for (int32_t of = first; of <= last; ++of) {
        const Pdf::TileSpec wanted = ThumbnailOf(of);
        const Tile* const there = doc.cache.SmallOf(of, wanted.turn);
        if (there && !there->old && there->spec.width * 4 >= wanted.width * 3) continue;
        if (noThumbnail.contains(of)) continue;
        if (!doc.layout.Knows(of)) {
            doc.AskSizes();
            Settle();
            continue;
        }
        const auto [width, height] = doc.layout.PixelsOf(of);
        const Tile* const whole = doc.cache.Find({of, width, wanted.turn, {0, 0, width, height}});
        if (whole && whole->picture.width > wanted.width) {
            doc.cache.Put(wanted, Shrunk(whole->picture, wanted.width, wanted.area.h), Tile::Kind::Small);
            Repaint();
            continue;
        }
        drawing =
            pages->DrawThumbnail(wanted, Guarded([this, wanted](Pdf::Outcome outcome, const Pdf::Picture& picture) {
                                     drawing = 0;
                                     if (outcome == Pdf::Outcome::Good && picture)
                                         Doc().cache.Put(wanted, picture, Tile::Kind::Small);
                                     else
                                         noThumbnail.insert(wanted.page);
                                     Doc().thumbnails = InSight();
                                     Doc().TrimTo(TileCache::kLimit);
                                     Repaint();
                                     AskThumbnails();
                                 }));
        return;
    }
}

}  // namespace Lx
