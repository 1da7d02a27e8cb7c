# The Debian package, by CPack: herramientas/paquete.sh makes it.
set(doc ${CMAKE_INSTALL_DATADIR}/doc/velmora)
instalar_comprimido(${fuente}/debian/changelog.in changelog.Debian ${doc})
instalar_comprimido(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog ${doc})
install(FILES ${fuente}/debian/copyright DESTINATION ${doc})
install(FILES ${fuente}/debian/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME velmora)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velmora)
set(CPACK_PACKAGE_CONTACT "Velmora <velmora@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "signs PDF documents with an identity card or a certificate
Velmora puts advanced electronic signatures (PAdES) into PDF documents, with
the electronic identity card (DNIe) in a contact or contactless reader, with
the certificates of Firefox, Thunderbird and Chromium, with PKCS#11 tokens,
or with a PKCS#12 file. The signed copy is written beside the original.

The package holds the window program, velmora, and the command-line signer,
velmora-cli. Both speak Spanish.")

# dpkg-shlibdeps sees what is linked. The others are opened or run by name: the card service and its library, the
# certificate stores, and openssl for PKCS#12. The fonts stand in for the ones that PDF documents don't bring along.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-urw-base35 | fonts-liberation, hicolor-icon-theme, libnss3, libp11-kit0, libpcsclite1, openssl")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
  "fonts-liberation | fonts-dejavu-core, libcurl4 | libcurl3-gnutls, pcscd, poppler-data, qt6-translations-l10n, qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "poppler-utils")
include(CPack)
