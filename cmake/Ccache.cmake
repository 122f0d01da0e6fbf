# Compiles through ccache where there is one. What a checkout compiled serves
# another, wherever it lies: no path of it gets into an object.
find_program(MV_CCACHE ccache)
mark_as_advanced(MV_CCACHE)
if(MV_CCACHE)
  foreach(language C CXX)
    if(NOT CMAKE_${language}_COMPILER_LAUNCHER)
      set(CMAKE_${language}_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}
        CCACHE_NOHASHDIR=true ${MV_CCACHE})
    endif()
  endforeach()
endif()
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
