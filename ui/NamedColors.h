// The colours that style sheets know by name. They are words of that language, the same in every theme.
#pragma once

#include <string_view>

#include "ui/LxTypes.h"

namespace Lx {

// Also what anything that isn't a colour reads as.
constexpr Color kBlack{0, 0, 0, 255};

constexpr struct {
    std::string_view name;
    Color color;
} kNamedColors[] = {
    {"white", {255, 255, 255, 255}},     {"black", kBlack},
    {"transparent", {0, 0, 0, 0}},       {"red", {255, 0, 0, 255}},
    {"green", {0, 128, 0, 255}},         {"blue", {0, 0, 255, 255}},
    {"gray", {128, 128, 128, 255}},      {"grey", {128, 128, 128, 255}},
    {"lightgray", {211, 211, 211, 255}}, {"lightgrey", {211, 211, 211, 255}},
    {"darkgray", {169, 169, 169, 255}},  {"darkgrey", {169, 169, 169, 255}},
    {"yellow", {255, 255, 0, 255}},      {"cyan", {0, 255, 255, 255}},
    {"magenta", {255, 0, 255, 255}},
};

}  // namespace Lx
