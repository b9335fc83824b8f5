# Profile-guided optimisation (g++): the tree is built twice. A training
# build, in its own folder under this one, is instrumented to count the
# branches and calls it takes and runs the bench; this build is then
# compiled with those counts, so that the compiler lays out and inlines the
# search's hot paths the way the search really runs. The counts change how
# the code is arranged, never what it computes: the bench node total stays
# the same. Both builds name their count files relative to their own build
# folder (-fprofile-prefix-path), so this one finds the training's.
set(MORVANE_PGO_PROFILE_DIR "${CMAKE_BINARY_DIR}/pgo-profile" CACHE PATH "Where the training run leaves its counts")

if(MORVANE_PGO_TRAINING)
  add_compile_options(-fprofile-generate=${MORVANE_PGO_PROFILE_DIR} -fprofile-prefix-path=${CMAKE_BINARY_DIR}
                      -fprofile-update=single)
  add_link_options(-fprofile-generate=${MORVANE_PGO_PROFILE_DIR})
  return()
endif()
if(NOT MORVANE_PGO)
  return()
endif()
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  message(WARNING "MORVANE_PGO is supported with g++ only; building without a profile")
  return()
endif()

include(ExternalProject)
include(ProcessorCount)
ProcessorCount(cores)
set(training_dir ${CMAKE_BINARY_DIR}/pgo-training)
ExternalProject_Add(pgo_training
  SOURCE_DIR ${CMAKE_SOURCE_DIR}
  BINARY_DIR ${training_dir}
  CMAKE_ARGS -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE} -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
             -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=${CMAKE_INTERPROCEDURAL_OPTIMIZATION}
             -DMORVANE_NATIVE=${MORVANE_NATIVE} -DMORVANE_TESTS=OFF -DMORVANE_PGO_TRAINING=ON
             -DMORVANE_PGO_PROFILE_DIR=${MORVANE_PGO_PROFILE_DIR}
  BUILD_COMMAND ${CMAKE_COMMAND} --build ${training_dir} --target bench --parallel ${cores}
  # Counts of an older training run would be merged into the new ones.
  INSTALL_COMMAND ${CMAKE_COMMAND} -E rm -rf ${MORVANE_PGO_PROFILE_DIR}
  COMMAND ${training_dir}/bench > ${training_dir}/training-run.txt
  BUILD_ALWAYS ON)

# Code the bench never reaches (the UCI loop, the batch mode) keeps the
# ordinary optimisation instead of being treated as cold.
add_compile_options(-fprofile-use=${MORVANE_PGO_PROFILE_DIR} -fprofile-prefix-path=${CMAKE_BINARY_DIR}
                    -fprofile-partial-training -Wno-missing-profile -Wno-error=coverage-mismatch)
