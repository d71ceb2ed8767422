# SPDX-License-Identifier: Apache-2.0
# What a user gets of the library. The programs and the simulator's device shim install themselves.
set_target_properties(trx-ipmi-tool PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
install(TARGETS trx-ipmi LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ipmi DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
# Relative to itself, so that an installed tree may be moved.
file(RELATIVE_PATH TRX_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" TRX_PREFIX_FROM_PC "${TRX_PREFIX_FROM_PC}")
configure_file(cmake/trx-ipmi.pc.in trx-ipmi.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/trx-ipmi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
