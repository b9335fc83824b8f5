# Endgame tables: tbgen (tools/tbgen) computes every 3- and 4-piece table,
# checks them against the published statistics and writes the files plus an
# assembler source that embeds them. The generator is compiled here with -O2
# and without the sanitizer flags of the build, since it does the heavy
# lifting at build time; it runs again only when its sources change.
enable_language(ASM)

set(TB_DIR ${CMAKE_BINARY_DIR}/tablebases)
set(TBGEN_EXE ${CMAKE_BINARY_DIR}/tbgen/tbgen)
file(GLOB TBGEN_CPP CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tools/tbgen/*.cpp)
file(GLOB TBGEN_H CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tools/tbgen/*.h)
set(TBGEN_SOURCES ${TBGEN_CPP} ${TBGEN_H} ${CMAKE_SOURCE_DIR}/src/tablebase/tb_layout.h)
set(TB_PUBLISHED ${CMAKE_SOURCE_DIR}/tools/tbgen/published-stats-3-4.txt)

add_custom_command(
    OUTPUT ${TBGEN_EXE}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/tbgen
    COMMAND ${CMAKE_CXX_COMPILER} -std=c++20 -O2 -pthread -I${CMAKE_SOURCE_DIR}/src
            ${TBGEN_CPP} -o ${TBGEN_EXE}
    DEPENDS ${TBGEN_SOURCES}
    COMMENT "Building the endgame-table generator"
    VERBATIM)

add_custom_command(
    OUTPUT ${TB_DIR}/embedded_tables.S ${TB_DIR}/embedded_tables.cpp
    COMMAND ${CMAKE_COMMAND} -E make_directory ${TB_DIR}
    COMMAND ${TBGEN_EXE} ${TB_DIR} --expect ${TB_PUBLISHED}
    DEPENDS ${TBGEN_EXE} ${TB_PUBLISHED}
    COMMENT "Generating the 3- and 4-piece endgame tables"
    VERBATIM)

target_sources(morvane_engine PRIVATE ${TB_DIR}/embedded_tables.S ${TB_DIR}/embedded_tables.cpp)
