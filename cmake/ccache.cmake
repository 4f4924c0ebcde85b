# Compiler cache: when ccache is installed, every compilation goes through it. The cache lives in
# the user's cache folder (ccache's default, ~/.cache/ccache), outside the clone, so that a fresh
# clone builds from what earlier builds left. Paths are taken relative to the source folder and
# the working folder is left out of the hash, so clones at other places hit the same entries.
find_program(UNITOPS_CCACHE ccache)
if(UNITOPS_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
                                  ${UNITOPS_CCACHE})
endif()
