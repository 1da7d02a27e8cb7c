#include "ui/platform/pdf/PageLinks.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>

namespace Lx::Pdf {
namespace {

using Ayudante::Escritor;

constexpr int32_t kMaxDepth = 32;
constexpr int32_t kMaxItems = 20'000;
constexpr size_t kMaxTitle = 1'000, kMaxAddress = 2'000;

std::string_view Clipped(const char* text, size_t most) {
    if (text == nullptr) return {};
    size_t n = strnlen(text, most + 1);
    if (n > most)
        for (n = most; n > 0 && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80;) --n;
    return {text, n};
}

// Poppler counts from the left and the bottom of the crop box, before the page is turned. Negative when the destination
// doesn't say how far from the top of the page as it is seen.
float TopOf(PopplerPage* sheet, int32_t turn, const PopplerDest& dest) {
    const bool isPlace = dest.type == POPPLER_DEST_XYZ, isRect = dest.type == POPPLER_DEST_FITR;
    const bool isAcross = dest.type == POPPLER_DEST_FITV || dest.type == POPPLER_DEST_FITBV;
    const bool isAlong = dest.type == POPPLER_DEST_FITH || dest.type == POPPLER_DEST_FITBH;
    const bool hasLeft = isAcross || isRect || (isPlace && dest.change_left != 0);
    const bool hasTop = isAlong || isRect || (isPlace && dest.change_top != 0);
    PageSize size;
    if (turn < 0 || !(turn % 2 == 1 ? hasLeft : hasTop) || !PageRenderer::Measure(sheet, size)) return -1;
    const double tops[] = {size.height - dest.top, dest.left, isRect ? dest.bottom : dest.top,
                           size.height - (isRect ? dest.right : dest.left)};
    return std::clamp(static_cast<float>(tops[turn]), 0.F, size.height);
}

void ReadDest(const PageRenderer& renderer, const PopplerDest* dest, Target& target) {
    PopplerDest* named = nullptr;
    if (dest != nullptr && dest->type == POPPLER_DEST_NAMED && dest->named_dest != nullptr)
        dest = named = poppler_document_find_dest(renderer.Document(), dest->named_dest);
    if (dest != nullptr && dest->page_num >= 1 && dest->page_num <= renderer.PageCount()) {
        target.kind = Target::Kind::Page;
        target.page = dest->page_num - 1;
        const bool isWhole = dest->type == POPPLER_DEST_FIT || dest->type == POPPLER_DEST_FITB;
        const SheetRef sheet = isWhole ? nullptr : renderer.Sheet(target.page);
        if (sheet) target.top = TopOf(sheet.get(), renderer.TurnOf(target.page), *dest);
    }
    if (named != nullptr) poppler_dest_free(named);
}

Target TargetOf(const PageRenderer& renderer, const PopplerAction* action) {
    Target target;
    if (action == nullptr) return target;
    if (action->type == POPPLER_ACTION_GOTO_DEST) {
        ReadDest(renderer, action->goto_dest.dest, target);
    } else if (action->type == POPPLER_ACTION_URI && action->uri.uri != nullptr) {
        target.address = Clipped(action->uri.uri, kMaxAddress);
        if (!target.address.empty()) target.kind = Target::Kind::Address;
    }
    return target;
}

bool Write(Escritor& writer, const Target& target) {
    return writer.Poner(static_cast<int32_t>(target.kind)) && writer.Poner(target.page) && writer.Poner(target.top) &&
           writer.PonerTexto(target.address);
}

// False when there is room for no more.
bool WriteItems(const PageRenderer& renderer, PopplerIndexIter* iter, int32_t depth, int32_t& left, Escritor& writer) {
    do {
        PopplerAction* const action = poppler_index_iter_get_action(iter);
        const uint32_t before = writer.Escritos();
        bool fits = --left >= 0 && writer.Poner(depth) &&
                    writer.PonerTexto(Clipped(action != nullptr ? action->any.title : nullptr, kMaxTitle)) &&
                    Write(writer, TargetOf(renderer, action));
        poppler_action_free(action);
        if (!fits) {
            writer.Volver(before);
            return false;
        }
        PopplerIndexIter* const child = depth < kMaxDepth ? poppler_index_iter_get_child(iter) : nullptr;
        if (child != nullptr) fits = WriteItems(renderer, child, depth + 1, left, writer);
        poppler_index_iter_free(child);
        if (!fits) return false;
    } while (poppler_index_iter_next(iter) != 0);
    return true;
}

}  // namespace

void WriteOutline(const PageRenderer& renderer, Escritor& writer) {
    PopplerIndexIter* const iter = poppler_index_iter_new(renderer.Document());
    int32_t left = kMaxItems;
    if (iter != nullptr) WriteItems(renderer, iter, 0, left, writer);
    poppler_index_iter_free(iter);
}

void WriteLinks(const PageRenderer& renderer, int32_t page, Escritor& writer) {
    const SheetRef sheet = renderer.Sheet(page);
    PageSize size;
    if (!sheet || !PageRenderer::Measure(sheet.get(), size)) return;
    GList* const links = poppler_page_get_link_mapping(sheet.get());
    int32_t left = kMaxItems;
    for (const GList* at = links; at != nullptr && left > 0; at = at->next, --left) {
        const auto* const link = static_cast<const PopplerLinkMapping*>(at->data);
        const Target target = TargetOf(renderer, link->action);
        if (target.kind == Target::Kind::None) continue;
        const PopplerRectangle& r = link->area;
        const Box box{static_cast<float>(std::min(r.x1, r.x2)), size.height - static_cast<float>(std::max(r.y1, r.y2)),
                      static_cast<float>(std::max(r.x1, r.x2)), size.height - static_cast<float>(std::min(r.y1, r.y2))};
        const uint32_t before = writer.Escritos();
        if (writer.Poner(box) && Write(writer, target)) continue;
        writer.Volver(before);
        break;
    }
    poppler_page_free_link_mapping(links);
}

void AttachedFiles::Find(const PageRenderer& renderer) {
    if (std::exchange(isFound_, true)) return;
    GList* const list = poppler_document_get_attachments(renderer.Document());
    for (const GList* at = list; at != nullptr; at = at->next)
        files_.emplace_back(static_cast<PopplerAttachment*>(at->data));
    g_list_free(list);
}

void AttachedFiles::Write(const PageRenderer& renderer, Escritor& writer) {
    Find(renderer);
    for (const auto& file : files_) {
        const uint32_t before = writer.Escritos();
        const int64_t size = file->size > 0 && file->size < G_MAXINT64 ? static_cast<int64_t>(file->size) : -1;
        if (writer.PonerTexto(Clipped(file->name, kMaxTitle)) && writer.Poner(size)) continue;
        writer.Volver(before);
        return;
    }
}

Ayudante::Estado AttachedFiles::Load(int32_t index) {
    data_ = {};
    index_ = -1;
    if (index < 0 || static_cast<size_t>(index) >= files_.size()) return Ayudante::Estado::SinDibujar;
    const auto take = [](const gchar* part, gsize n, gpointer data, GError**) -> gboolean {
        auto& all = *static_cast<std::string*>(data);
        if (kMaxBytes - all.size() < n) return FALSE;
        all.append(part, n);
        return TRUE;
    };
    if (poppler_attachment_save_to_callback(files_[static_cast<size_t>(index)].get(), take, &data_, nullptr) == 0) {
        const bool isTooLarge = !data_.empty();
        data_ = {};
        return isTooLarge ? Ayudante::Estado::SinMemoria : Ayudante::Estado::SinDibujar;
    }
    index_ = index;
    return Ayudante::Estado::Bien;
}

Ayudante::Estado AttachedFiles::Read(const PageRenderer& renderer, int32_t index, uint64_t from, unsigned char* slot,
                                     size_t room, uint32_t& bytes, bool& end) {
    Find(renderer);
    const Ayudante::Estado loaded = index == index_ ? Ayudante::Estado::Bien : Load(index);
    if (loaded != Ayudante::Estado::Bien) return loaded;
    if (from > data_.size()) return Ayudante::Estado::SinDibujar;
    bytes = static_cast<uint32_t>(std::min<size_t>(room, data_.size() - from));
    std::memcpy(slot, data_.data() + from, bytes);
    end = from + bytes == data_.size();
    if (end) {
        data_ = {};
        index_ = -1;
    }
    return Ayudante::Estado::Bien;
}

}  // namespace Lx::Pdf
