# Options for every target of this project.
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(MV_WERROR)
  add_compile_options(-Werror)
endif()

# A GNU-unique symbol would keep a closed driver in memory for ever.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
endif()

if(MV_SANITIZE)
  add_compile_options(-fsanitize=${MV_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${MV_SANITIZE})
  # Under sanitizers GCC 12 takes std::regex for uninitialized.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
endif()

# What is shipped is hardened, programs included; a sanitizer does more than
# that, and does not go with all of it.
if(NOT MV_SANITIZE)
  include(CheckPIESupported)
  check_pie_supported()
  add_compile_options(-fstack-protector-strong)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    add_compile_options(-mbranch-protection=standard)
  elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    add_compile_options(-fcf-protection)
  endif()
  # Without optimisation the checks of the C library warn instead of working.
  add_compile_options(
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  add_link_options(LINKER:-z,relro,-z,now,-z,noexecstack,-z,text)
endif()

# Every module tells the fuzzers which of its branches an input reached.
if(MV_BUILD_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# The log's format checks, the shared block's offsets and the record's byte
# order all assume this.
if(NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
  message(FATAL_ERROR "mv_fpi supports 64-bit Linux only")
endif()
