# The driver for hosts with an older C library than this machine's: compiled and
# linked with the C and C++ runtime of an older system. Tools and window are
# packaged for this machine's release and keep its runtime.
set(MV_OLD_RUNTIME "" CACHE PATH
  "System whose C and C++ runtime the driver is made with; else this machine's")
set(MV_OLD_RUNTIME_COMPILE "")
set(MV_OLD_RUNTIME_LINK "")
if(NOT MV_OLD_RUNTIME)
  return()
endif()

set(triplet ${CMAKE_LIBRARY_ARCHITECTURE})
file(GLOB compiler_dir ${MV_OLD_RUNTIME}/usr/lib/gcc/${triplet}/*)
get_filename_component(version ${compiler_dir} NAME)
set(MV_OLD_RUNTIME_COMPILE --sysroot=${MV_OLD_RUNTIME}
  $<$<COMPILE_LANGUAGE:CXX>:-nostdinc++>)
foreach(dir c++/${version} ${triplet}/c++/${version})
  list(APPEND MV_OLD_RUNTIME_COMPILE
    $<$<COMPILE_LANGUAGE:CXX>:-isystem${MV_OLD_RUNTIME}/usr/include/${dir}>)
endforeach()
# A cross compiler has a C library of its own, and looks there first.
foreach(dir ${triplet} "")
  list(APPEND MV_OLD_RUNTIME_COMPILE
    -isystem${MV_OLD_RUNTIME}/usr/include/${dir})
endforeach()
set(MV_OLD_RUNTIME_LINK --sysroot=${MV_OLD_RUNTIME} -pthread)
foreach(dir usr/lib/gcc/${triplet}/${version} usr/lib/${triplet} lib/${triplet})
  list(APPEND MV_OLD_RUNTIME_LINK
    -B${MV_OLD_RUNTIME}/${dir} -L${MV_OLD_RUNTIME}/${dir})
endforeach()
