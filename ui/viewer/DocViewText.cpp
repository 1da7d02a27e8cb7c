// The text of the pages: search, selection, links.
#include <algorithm>
#include <utility>

#include "ui/LxApp.h"
#include "ui/viewer/DocViewInside.h"

namespace Lx {

namespace {

constexpr int32_t kPagesRead = 8;  // of those that are seen: more would push each other out

}  // namespace

// One text and the links of one page at a time: those that something waits for first, then those that are seen.
void CDocView::Inside::AskTexts() {
    if (!Has()) return;
    if (askingText == 0) {
        const int32_t page = NextText();
        if (page >= 0) AskText(page);
    }
    const auto [first, last] = layout.PagesBetween(scrollY, scrollY + height);
    for (int32_t page = first; page <= std::min(last, first + kPagesRead) && askingLinks == 0; ++page) {
        if (texts.LinksOf(page) || noLinks.contains(page)) continue;
        askingLinks = pages->Links(page, Answer([this, page](Pdf::Outcome outcome, std::vector<Pdf::Link> links) {
                                       askingLinks = 0;
                                       if (outcome == Pdf::Outcome::Good)
                                           texts.PutLinks(page, std::move(links));
                                       else
                                           noLinks.insert(page);
                                       AskTexts();
                                   }));
    }
}

int32_t CDocView::Inside::NextText() const {
    const auto wanted = [this](int32_t page) {
        return page >= 0 && page < layout.Count() && !texts.TextOf(page) && !noText.contains(page);
    };
    if (revealing && wanted(revealing->page)) return revealing->page;
    if (copying && wanted(copying->page)) return copying->page;
    if (wanted(spoken)) return spoken;
    const auto [first, last] = layout.PagesBetween(scrollY, scrollY + height);
    for (int32_t page = first; page <= std::min(last, first + kPagesRead); ++page)
        if (wanted(page)) return page;
    return -1;
}

void CDocView::Inside::AskText(int32_t page) {
    askingText = pages->Text(page, Answer([this, page](Pdf::Outcome outcome, Pdf::PageText text) {
                                 askingText = 0;
                                 if (outcome == Pdf::Outcome::Good)
                                     texts.PutText(page, std::move(text));
                                 else
                                     noText.insert(page);
                                 OnText(page);
                             }));
}

void CDocView::Inside::OnText(int32_t page) {
    if (revealing && revealing->page == page) RevealHit();
    if (copying && copying->page == page) GoOnCopying();
    if (!selection.Empty() || !search.On(page).empty()) Repaint();
    AskTexts();
}

void CDocView::Inside::DropText() {
    texts.Clear();
    selection.Clear();
    noText.clear();
    noLinks.clear();
    askingText = askingLinks = searching = 0;
    spoken = -1;
    copying.reset();
    revealing.reset();
    search.End();
    pattern.clear();
    drag = Drag::None;
    tabbed.reset();
}

// Search

void CDocView::Inside::StartSearch(int32_t from) {
    search.Start(from, layout.Count());
    searching =
        pages->Search({pattern, exactly, from}, Answer([this](Pdf::Outcome outcome, const Pdf::SearchNews& news) {
                          if (outcome != Pdf::Outcome::Good) {
                              search.Fail();
                          } else if (search.Add(news)) {
                              RevealHit();
                          }
                          if (!search.State().running) searching = 0;
                          Repaint();
                          AskTexts();
                          Tell(view.onSearch);
                      }));
}

void CDocView::Inside::EndSearch() {
    if (searching != 0) pages->Cancel(std::exchange(searching, 0));
    search.End();
    revealing.reset();
    Repaint();
}

void CDocView::Inside::RevealHit() {
    if (!search.Current()) return;
    const Pdf::Hit hit = *search.Current();
    revealing.reset();
    const Pdf::PageText* const text = texts.TextOf(hit.page);
    if (!text && !noText.contains(hit.page)) {
        revealing = hit;
        return AskTexts();
    }
    std::vector<Pdf::Box> boxes;
    if (text) boxes = BoxesBetween(*text, hit.first, hit.first + hit.count);
    if (!boxes.empty())
        Reveal(hit.page, boxes.front(), true);
    else if (hit.page != Current() && hit.page >= 0 && hit.page < layout.Count())
        ShowTop(hit.page);
    Repaint();
}

// Before the first hit there is nowhere to go: it becomes the current one when it comes.
void CDocView::Inside::StepSearch(bool forwards) {
    if (!Has() || !search.Step(forwards)) return;
    RevealHit();
    Tell(view.onSearch);
}

void CDocView::Search(const std::string& pattern, bool exact) {
    if (!in_->Has()) return;
    in_->EndSearch();
    in_->pattern = pattern;
    in_->exactly = exact;
    if (!pattern.empty()) in_->StartSearch(GetCurrentPage());
    in_->Tell(onSearch);
}

void CDocView::SearchNext() {
    in_->StepSearch(true);
}

void CDocView::SearchPrevious() {
    in_->StepSearch(false);
}

const SearchState& CDocView::GetSearch() const {
    return in_->search.State();
}

// Selection

std::optional<std::string> CDocView::Inside::Selected() const {
    const int32_t from = selection.From().page, to = selection.To().page;
    if (selection.Empty() || to - from >= static_cast<int32_t>(PageTexts::kPages)) return std::nullopt;
    std::string selected;
    for (int32_t page = from; page <= to; ++page) {
        const Pdf::PageText* const text = texts.TextOf(page);
        if (!text && !noText.contains(page)) return std::nullopt;
        if (!text) continue;
        const auto [first, end] = selection.On(page, *text);
        selected += TextBetween(*text, first, end);
    }
    return selected;
}

void CDocView::Inside::GoOnCopying() {
    while (copying && copying->page <= copying->to.page) {
        const int32_t page = copying->page;
        const Pdf::PageText* const text = texts.TextOf(page);
        if (!text && !noText.contains(page)) return AskTexts();
        if (text) {
            Selection part;
            part.Set(copying->from, copying->to);
            const auto [first, end] = part.On(page, *text);
            copying->text += TextBetween(*text, first, end);
        }
        ++copying->page;
    }
    const CopyJob done = std::move(*copying);
    copying.reset();
    if (done.done) done.done(done.text);
}

bool CDocView::HasSelection() const {
    return !in_->selection.Empty();
}

std::string CDocView::SelectedText() const {
    return in_->Selected().value_or(std::string());
}

void CDocView::CopySelection(std::function<void(const std::string&)> copied) {
    if (!HasSelection()) return;
    const Selection& selection = in_->selection;
    in_->copying = {selection.From(), selection.To(), selection.From().page, {}, std::move(copied)};
    in_->GoOnCopying();
}

void CDocView::SelectAll() {
    if (!HasDocument()) return;
    in_->selection.Set({0, 0}, {GetPageCount() - 1, INT32_MAX});
    in_->Repaint();
}

}  // namespace Lx
