# The reference pages: target `docs`, in docs/html of the build folder. A public name without a
# comment is an error.

find_package(Doxygen REQUIRED)

configure_file(docs/Doxyfile.in ${CMAKE_CURRENT_BINARY_DIR}/Doxyfile @ONLY)
file(GLOB public_headers CONFIGURE_DEPENDS include/*.h)
add_custom_command(OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/docs/made
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/docs
    COMMAND Doxygen::doxygen ${CMAKE_CURRENT_BINARY_DIR}/Doxyfile
    COMMAND ${CMAKE_COMMAND} -E touch ${CMAKE_CURRENT_BINARY_DIR}/docs/made
    DEPENDS ${public_headers} docs/reference.dox ${CMAKE_CURRENT_BINARY_DIR}/Doxyfile VERBATIM)
add_custom_target(docs ALL DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/docs/made)
install(DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/docs/html
        DESTINATION ${CMAKE_INSTALL_DOCDIR} OPTIONAL)
