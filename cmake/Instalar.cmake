# What is installed, and where. The window program lies in a folder of its own, beside the files that it looks for next
# to its real self; the link among the programs leads there.
include(GNUInstallDirs)

set(VELMORA_FECHA 2026-11-21)  # of the version: no output depends on the day it is built
set(VELMORA_PROPIA lib/velmora)  # the same on every distribution: the link is relative to it
set(fuente ${PROJECT_SOURCE_DIR}/instalacion)
set(hecho ${PROJECT_BINARY_DIR}/instalacion)

install(TARGETS velmora-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${VELMORA_BIENVENIDA} DESTINATION ${VELMORA_PROPIA})
foreach(objetivo velmora velmora-pagina)
  if(TARGET ${objetivo})
    install(TARGETS ${objetivo} RUNTIME DESTINATION ${VELMORA_PROPIA})
  endif()
endforeach()

if(TARGET velmora-impresion)
  # A folder deeper than where CPack would have the linker told of it.
  install(TARGETS velmora-impresion LIBRARY DESTINATION ${VELMORA_PROPIA}/complementos)
endif()

# instalar_comprimido(INPUT OUTPUT FOLDER): fills in the version and installs it by gzip, with no time in it.
function(instalar_comprimido entrada salida carpeta)
  configure_file(${entrada} ${hecho}/${salida} @ONLY)
  add_custom_command(OUTPUT ${hecho}/${salida}.gz
    COMMAND gzip -9nkf ${hecho}/${salida} DEPENDS ${hecho}/${salida} VERBATIM)
  add_custom_target(comprimir-${salida} ALL DEPENDS ${hecho}/${salida}.gz)
  install(FILES ${hecho}/${salida}.gz DESTINATION ${carpeta})
endfunction()

instalar_comprimido(${fuente}/man/velmora-cli.1.in velmora-cli.1 ${CMAKE_INSTALL_MANDIR}/man1)
set(completado ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES ${fuente}/completado/velmora-cli DESTINATION ${completado})

# Without the window program there is nothing for a desktop to show.
if(TARGET velmora)
  add_dependencies(velmora bienvenida)
  file(CREATE_LINK ../${VELMORA_PROPIA}/velmora ${hecho}/velmora SYMBOLIC)
  install(FILES ${hecho}/velmora DESTINATION ${CMAKE_INSTALL_BINDIR})
  instalar_comprimido(${fuente}/man/velmora.1.in velmora.1 ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${fuente}/completado/velmora DESTINATION ${completado})
  install(FILES ${fuente}/velmora.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  configure_file(${fuente}/velmora.metainfo.xml.in ${hecho}/org.velmora.velmora.metainfo.xml @ONLY)
  install(FILES ${hecho}/org.velmora.velmora.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

  set(iconos ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
  install(FILES ${fuente}/velmora.svg DESTINATION ${iconos}/scalable/apps)
  find_program(RSVG_CONVERT rsvg-convert)
  if(RSVG_CONVERT)
    foreach(lado 48 128 256)
      set(png ${hecho}/${lado}/velmora.png)
      file(MAKE_DIRECTORY ${hecho}/${lado})
      add_custom_command(OUTPUT ${png}
        COMMAND ${RSVG_CONVERT} -w ${lado} -h ${lado} -o ${png} ${fuente}/velmora.svg
        DEPENDS ${fuente}/velmora.svg VERBATIM)
      list(APPEND pngs ${png})
      install(FILES ${png} DESTINATION ${iconos}/${lado}x${lado}/apps)
    endforeach()
    # Where a program that is not installed looks for it.
    set(junto ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/velmora.png)
    add_custom_command(OUTPUT ${junto} DEPENDS ${hecho}/48/velmora.png
      COMMAND ${CMAKE_COMMAND} -E copy ${hecho}/48/velmora.png ${junto} VERBATIM)
    add_custom_target(iconos ALL DEPENDS ${pngs} ${junto})
    add_dependencies(velmora iconos)
  endif()
endif()
