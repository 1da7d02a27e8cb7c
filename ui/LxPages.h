// The seam of the document view: what it asks of a document whose pages, text and outline come from elsewhere, later. A
// program links one implementation of OpenPages.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ui/LxTypes.h"

namespace Lx::Pdf {

// On a page: points (1/72 inch) from the top left corner of its crop box, as it is seen when the view doesn't turn it.
struct Box {
    float left = 0, top = 0, right = 0, bottom = 0;
    bool operator==(const Box&) const = default;
};

// In points, both over 0.
struct PageSize {
    float width = 0, height = 0;
    bool operator==(const PageSize&) const = default;
};

enum class Outcome : uint32_t {
    Good,
    Locked,    // a password is wanted, or the one given was wrong
    Damaged,   // no document with a page at least
    BadSize,   // a page without a size
    NoMemory,  // or more pixels than there may be
    NotDrawn,
    NoProgram,   // that draws can't be started, is mute, has ended
    NoWalls,     // this system can't wall it in
    Slow,        // its time was over
    Unreadable,  // the file itself
};

// Pixels in rows from the top: words 0xffRRGGBB of the machine (bytes B, G, R, x). They stay as they are while `holder`
// is held.
struct Picture {
    const unsigned char* data = nullptr;
    int32_t width = 0, height = 0, stride = 0;  // stride in bytes
    std::shared_ptr<const void> holder;

    explicit operator bool() const { return data != nullptr; }
    [[nodiscard]] size_t Bytes() const { return static_cast<size_t>(stride) * static_cast<size_t>(height); }
};

// A part of a page as it is to be drawn.
struct TileSpec {
    int32_t page = 0;   // from 0
    int32_t width = 0;  // device pixels across the whole page as the view turns it
    int32_t turn = 0;   // quarter turns of the view, clockwise, 0 to 3
    Rect area;          // what of that whole page, in its device pixels
    bool forPrint = false;

    bool operator==(const TileSpec&) const = default;
};

// The height in device pixels that goes with TileSpec::width; 1 at least. Both sides of the seam count with it.
[[nodiscard]] int32_t HeightOf(const PageSize& size, int32_t turn, int32_t width);

// In reading order. Each line ends with a glyph of code '\n' and an empty box.
struct Glyph {
    char32_t code = 0;
    Box box;
};
struct PageText {
    std::vector<Glyph> glyphs;
};

struct SearchSpec {
    std::string pattern;  // UTF-8
    bool exact = false;   // otherwise letter case and accents make no difference
    int32_t from = 0;     // the page that is searched first; then on to the end, and from the start
};
// Glyphs of the page's PageText.
struct Hit {
    int32_t page = 0, first = 0, count = 0;
};
struct SearchNews {
    std::vector<Hit> hits;  // found since the last news, of each page in order
    int32_t pagesDone = 0;
    bool finished = false;
};

struct Target {
    enum class Kind { None, Page, Address };
    Kind kind = Kind::None;
    int32_t page = 0;
    float top = -1;       // points from the top of the page; negative: not said
    std::string address;  // UTF-8; any scheme, nothing of it is to be believed
};
struct OutlineItem {
    std::string title;
    int32_t depth = 0;
    Target target;
};
struct Link {
    Box box;
    Target target;
};
struct Attachment {
    std::string name;    // fit for a file: no folder, no control character, not empty, not hidden
    int64_t bytes = -1;  // negative: not said
};

struct Opened {
    Outcome outcome = Outcome::Good;
    std::string sentence;  // for the user when it isn't Good
    int32_t pages = 0;
    std::vector<PageSize> sizes;  // of the first pages, 256 at most
    bool isProtected = false;     // encrypted, be it without a password for reading
    bool mayPrint = true;
    bool mayPrintWell = true;  // at a high resolution
};

// One document. Every callback comes from the event loop of the window's thread, never from within the call that it was
// given to, once (a search more often), and not at all after Cancel or when this is gone.
class IPages {
  public:
    using Id = uint32_t;  // from 1
    template <class... T>
    using Done = std::function<void(Outcome, T...)>;

    virtual ~IPages() = default;

    // As last told to the OnOpened; without pages before.
    [[nodiscard]] virtual const Opened& State() const = 0;
    // Answers Outcome::Locked: the document is opened again, and the OnOpened called again. UTF-8; not kept here.
    virtual void Unlock(const std::string& password) = 0;

    virtual Id Sizes(int32_t first, int32_t count, Done<std::vector<PageSize>> done) = 0;
    // In the order asked, except that a spare may overtake. Whoever asks keeps at most two under way.
    virtual Id Draw(const TileSpec& tile, Done<Picture> done) = 0;
    // Small pictures, behind everything else.
    virtual Id DrawThumbnail(const TileSpec& tile, Done<Picture> done) = 0;
    virtual Id Text(int32_t page, Done<PageText> done) = 0;
    virtual Id Links(int32_t page, Done<std::vector<Link>> done) = 0;
    virtual Id Outline(Done<std::vector<OutlineItem>> done) = 0;
    virtual Id Attachments(Done<std::vector<Attachment>> done) = 0;
    // Writes the attachment into a new file, mode 0600. The sentence says what went wrong.
    virtual Id SaveAttachment(int32_t index, const std::string& path, Done<std::string> done) = 0;
    virtual Id Search(const SearchSpec& spec, Done<SearchNews> news) = 0;
    // What is asked for and not needed any more. Work that is under way ends within 200 ms. Unknown ids are ignored.
    virtual void Cancel(Id id) = 0;
    // The drawing program is spared what it doesn't need: the desktop is short of memory.
    virtual void Shrink() = 0;
};

using OnOpened = std::function<void(const Opened&)>;

// Never null, never waits: what is wrong comes as an Opened. May be called before there is an event loop.
[[nodiscard]] std::unique_ptr<IPages> OpenPages(const std::string& path, OnOpened opened);

// Starts reading `path` and drawing `width` device pixels of its first page, which the next OpenPages of the same path
// finds under way. For the start of a program, before there is a window. Once; nothing when it fails.
void OpenAhead(const std::string& path, int32_t width);

}  // namespace Lx::Pdf
