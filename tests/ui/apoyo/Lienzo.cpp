#include <charconv>

#include "tests/ui/apoyo/Falso.h"

namespace Falso {

namespace {

std::string T(const Lx::Rect& r) {
    return " " + std::to_string(r.x) + "," + std::to_string(r.y) + "," + std::to_string(r.w) + "," +
           std::to_string(r.h);
}

std::string T(const Lx::Point& p) {
    return " " + std::to_string(p.x) + "," + std::to_string(p.y);
}

std::string T(const Lx::Color& c) {
    constexpr const char* kHex = "0123456789abcdef";
    std::string texto = " #";
    for (const uint8_t v : {c.r, c.g, c.b, c.a}) {
        texto += kHex[v / 16];
        texto += kHex[v % 16];
    }
    return texto;
}

std::string T(float valor) {
    char texto[64];
    return " " + std::string(texto, std::to_chars(texto, texto + sizeof texto, valor).ptr);
}

}  // namespace

void Lienzo::FillRect(const Lx::Rect& rect, const Lx::Color& color) {
    lineas.push_back("FillRect" + T(rect) + T(color));
}

void Lienzo::DrawRect(const Lx::Rect& rect, const Lx::Color& color, float width) {
    lineas.push_back("DrawRect" + T(rect) + T(color) + T(width));
}

void Lienzo::FillRoundRect(const Lx::Rect& rect, float radius, const Lx::Color& color) {
    lineas.push_back("FillRoundRect" + T(rect) + T(radius) + T(color));
}

void Lienzo::DrawRoundRect(const Lx::Rect& rect, float radius, const Lx::Color& color, float width) {
    lineas.push_back("DrawRoundRect" + T(rect) + T(radius) + T(color) + T(width));
}

void Lienzo::FillEllipse(const Lx::Rect& rect, const Lx::Color& color) {
    lineas.push_back("FillEllipse" + T(rect) + T(color));
}

void Lienzo::DrawEllipse(const Lx::Rect& rect, const Lx::Color& color, float width) {
    lineas.push_back("DrawEllipse" + T(rect) + T(color) + T(width));
}

void Lienzo::DrawLine(const Lx::Point& from, const Lx::Point& to, const Lx::Color& color, float width) {
    lineas.push_back("DrawLine" + T(from) + T(to) + T(color) + T(width));
}

void Lienzo::DrawText(const std::string& utf8, const Lx::Point& topLeft, const Lx::Color& color,
                      const std::string& fontFamily, int fontSize, bool bold, bool italic) {
    lineas.push_back("DrawText \"" + utf8 + "\"" + T(topLeft) + T(color) + " " + fontFamily + " " +
                     std::to_string(fontSize) + (bold ? " bold" : "") + (italic ? " italic" : ""));
}

Lx::Size Lienzo::MeasureText(const std::string& utf8, const std::string& /*fontFamily*/, int fontSize, bool bold,
                             bool /*italic*/) {
    int caracteres = 0;
    for (const char c : utf8) caracteres += (static_cast<unsigned char>(c) & 0xC0) == 0x80 ? 0 : 1;
    return {caracteres * (bold ? 8 : 7), fontSize + 4};
}

void Lienzo::Save() {
    lineas.emplace_back("Save");
}

void Lienzo::Restore() {
    lineas.emplace_back("Restore");
}

void Lienzo::Translate(float dx, float dy) {
    lineas.push_back("Translate" + T(dx) + T(dy));
}

void Lienzo::Scale(float sx, float sy) {
    lineas.push_back("Scale" + T(sx) + T(sy));
}

void Lienzo::ClipRect(const Lx::Rect& rect) {
    lineas.push_back("ClipRect" + T(rect));
}

void Lienzo::ClearRect(const Lx::Rect& rect) {
    lineas.push_back("ClearRect" + T(rect));
}

bool Lienzo::DrawImageRGBA(const unsigned char* /*rgba*/, int width, int height, const Lx::Rect& dest) {
    lineas.push_back("DrawImageRGBA " + std::to_string(width) + "x" + std::to_string(height) + T(dest));
    return sabeImagenes;
}

void Lienzo::DrawImageFile(const std::string& path, const Lx::Rect& dest) {
    lineas.push_back("DrawImageFile " + path + T(dest));
}

void Lienzo::FillGradient(const Lx::Rect& rect, const Lx::Color& from, const Lx::Color& to, float angle) {
    lineas.push_back("FillGradient" + T(rect) + T(from) + T(to) + T(angle));
}

}  // namespace Falso
