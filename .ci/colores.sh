#!/bin/bash
# Colours stand in the theme alone, and in the list of the names that style sheets know.
set -euo pipefail
patrones=(
    '\bColor\b[^;()]*[{(]\s*\d+\s*,'                       # Color c{1, 2, 3, 4}
    '[cC]olor\w*\s*=\s*\{\s*\d'                            # backColor = {1, 2, 3, 4}
    '\{(\s*(25[0-5]|2[0-4]\d|1?\d?\d)\s*,){3}\s*255\s*\}'  # {1, 2, 3, 255}
    '(Fill|Draw|GetColor)\w*\(.*\{(\s*\d+\s*,){3}\s*\d+\s*\}\)'
    '"[^"]*(#([0-9a-fA-F]{3,4}){1,2}\b|rgba?\(\s*\d)'      # in a style sheet
    '\b0x[0-9A-Fa-f]{6}\)'
)
unir() { local IFS='|'; echo "($*)"; }
! git grep -nP "$(unir "${patrones[@]}")" -- 'ui/*.cpp' 'ui/*.h' 'app/*.cpp' 'app/*.h' \
    ':!ui/LxTheme.cpp' ':!ui/NamedColors.h' ':!ui/platform/pdf'
