#include "ui/viewer/SearchModel.h"

#include <algorithm>

namespace Lx {

namespace {

bool Before(const Pdf::Hit& a, const Pdf::Hit& b) {
    return a.page != b.page ? a.page < b.page : a.first < b.first;
}

}  // namespace

void SearchModel::Start(int32_t from, int32_t pages) {
    End();
    from_ = from;
    count_ = pages;
    state_.running = true;
}

void SearchModel::End() {
    pages_.clear();
    current_.reset();
    state_ = {};
    settled_ = false;
}

bool SearchModel::Add(const Pdf::SearchNews& news) {
    bool changed = false;
    for (const Pdf::Hit& hit : news.hits) {
        if (!current_ || (!settled_ && Turn(hit.page) < Turn(current_->page))) {
            current_ = hit;
            changed = true;
        }
        std::vector<Pdf::Hit>& hits = pages_[hit.page];
        hits.insert(std::upper_bound(hits.begin(), hits.end(), hit, Before), hit);
        ++state_.hits;
    }
    state_.pagesDone = news.pagesDone;
    state_.running = !news.finished;
    Number();
    return changed;
}

bool SearchModel::Step(bool forward) {
    if (!current_ || pages_.empty()) return false;
    auto page = pages_.find(current_->page);
    if (page == pages_.end()) return false;
    const std::vector<Pdf::Hit>& hits = page->second;
    auto at = std::lower_bound(hits.begin(), hits.end(), *current_, Before);
    if (forward && at != hits.end() && ++at != hits.end()) {
        current_ = *at;
    } else if (!forward && at != hits.begin()) {
        current_ = *--at;
    } else if (forward) {
        if (++page == pages_.end()) page = pages_.begin();
        current_ = page->second.front();
    } else {
        if (page == pages_.begin()) page = pages_.end();
        current_ = (--page)->second.back();
    }
    settled_ = true;
    Number();
    return true;
}

void SearchModel::Keep(const Pdf::Hit& hit) {
    current_ = hit;
    settled_ = true;
    Number();
}

const std::vector<Pdf::Hit>& SearchModel::On(int32_t page) const {
    static const std::vector<Pdf::Hit> kNone;
    const auto it = pages_.find(page);
    return it == pages_.end() ? kNone : it->second;
}

void SearchModel::Number() {
    state_.current = 0;
    if (!current_) return;
    for (const auto& [page, hits] : pages_) {
        if (page > current_->page) break;
        if (page < current_->page)
            state_.current += static_cast<int32_t>(hits.size());
        else
            state_.current +=
                static_cast<int32_t>(std::upper_bound(hits.begin(), hits.end(), *current_, Before) - hits.begin());
    }
}

}  // namespace Lx
