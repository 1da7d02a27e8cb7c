#!/bin/bash
# documento.sh: writes a one-page PDF to standard output (ISO 32000-1, 7.5: header, body, cross-reference table).
set -euo pipefail
export LC_ALL=C

texto=$(cat <<'FIN'
BT /F1 20 Tf 72 760 Td (Contrato de muestra) Tj
/F1 12 Tf 0 -40 Td (Un documento de una pagina para probar la firma.) Tj ET
FIN
)
objetos=(
    '<< /Type /Catalog /Pages 2 0 R >>'
    '<< /Type /Pages /Kids [3 0 R] /Count 1 >>'
    '<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R /Resources << /Font << /F1 5 0 R >> >> >>'
    "<< /Length $((${#texto} + 1)) >>"$'\n'"stream"$'\n'"$texto"$'\n'"endstream"
    '<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>'
    '<< /Title (Contrato de muestra) >>'
)

salida=$'%PDF-1.4\n'
tabla=''
for i in "${!objetos[@]}"; do
    tabla+=$(printf '%010d 00000 n ' "${#salida}")$'\n'
    salida+="$((i + 1)) 0 obj"$'\n'"${objetos[i]}"$'\n'"endobj"$'\n'
done
n=$((${#objetos[@]} + 1))
printf '%sxref\n0 %d\n0000000000 65535 f \n%strailer\n<< /Size %d /Root 1 0 R /Info 6 0 R >>\nstartxref\n%d\n%%%%EOF\n' \
    "$salida" "$n" "$tabla" "$n" "${#salida}"
