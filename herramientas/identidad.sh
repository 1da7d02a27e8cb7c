#!/bin/bash
# identidad.sh FOLDER: makes in FOLDER (existing, private) a throw-away certificate authority and an identity under it:
# ca.pem, clave (the password's file), identidad.p12, and nss/, a database of certificates that trusts the authority.
set -euo pipefail
umask 077
cd "$1"

openssl req -x509 -newkey rsa:2048 -nodes -keyout ca.key -out ca.pem -days 2 \
    -subj "/C=PE/O=Velmora/CN=Autoridad de usar y tirar" \
    -addext "basicConstraints=critical,CA:TRUE" -addext "keyUsage=critical,keyCertSign,cRLSign" 2> /dev/null
openssl req -new -newkey rsa:2048 -nodes -keyout firmante.key -out firmante.csr \
    -subj "/C=PE/O=Velmora/CN=Firmante de usar y tirar" 2> /dev/null
printf '%s\n' "basicConstraints=CA:FALSE" "keyUsage=critical,digitalSignature,nonRepudiation" \
    "extendedKeyUsage=emailProtection" > extensiones
openssl x509 -req -in firmante.csr -CA ca.pem -CAkey ca.key -days 2 -set_serial "0x$(openssl rand -hex 8)" \
    -extfile extensiones -out firmante.pem 2> /dev/null
openssl rand -hex 24 > clave
openssl pkcs12 -export -in firmante.pem -inkey firmante.key -certfile ca.pem -name Firmante \
    -passout file:clave -out identidad.p12
rm -f ca.key firmante.key firmante.csr extensiones

mkdir -p nss
certutil -N -d sql:nss --empty-password
certutil -A -d sql:nss -n "Autoridad" -t "CT,C,C" -i ca.pem
