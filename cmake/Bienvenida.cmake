# "Velmora.pdf", the document that the program shows when it is started without one; it looks for it beside itself.
find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(VELMORA_BIENVENIDA ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/Velmora.pdf)
set(generador ${PROJECT_SOURCE_DIR}/herramientas/bienvenida)
add_custom_command(OUTPUT ${VELMORA_BIENVENIDA}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
  # -B: no compiled modules in the source tree.
  COMMAND Python3::Interpreter -B ${generador}/generar.py ${VELMORA_BIENVENIDA}
  DEPENDS ${generador}/generar.py ${generador}/lienzo.py ${generador}/ventanas.py
    ${PROJECT_SOURCE_DIR}/instalacion/velmora.svg
  VERBATIM)
add_custom_target(bienvenida ALL DEPENDS ${VELMORA_BIENVENIDA})
