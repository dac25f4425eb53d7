# Language, warnings, exactness and sanitizers: the one place for options that hold for every file.
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

# Results are defined to the bit: no product may be fused into a sum, whatever the processor offers.
add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-ffp-contract=off>)

# keep_unfused(TARGET): for what decides bytes. GCC 12 fuses alternating sums and differences in spite of the option above
# once it may use such instructions, which AVX-512 brings too. A target's own options come after CMAKE_CXX_FLAGS, so no
# -march there brings them back.
function(keep_unfused target)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64|i.86)$")
    foreach(option -mno-fma -mno-fma4 -mno-avx512f)
      target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:C,CXX>:${option}>)
    endforeach()
  endif()
endfunction()

add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-Wall> $<$<COMPILE_LANGUAGE:C,CXX>:-Wextra>
                    $<$<COMPILE_LANGUAGE:C,CXX>:-Wpedantic> $<$<COMPILE_LANGUAGE:C,CXX>:-Wconversion>)
if(QX_WERROR)
  add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-Werror>)
endif()

if(QX_SANITIZE)
  add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-fsanitize=${QX_SANITIZE}>
                      $<$<COMPILE_LANGUAGE:C,CXX>:-fno-omit-frame-pointer>)
  add_link_options(-fsanitize=${QX_SANITIZE})
  add_compile_definitions(QX_SANITIZED) # for tests of what sanitizers change; each compiler says it otherwise
  if(QX_SANITIZE MATCHES undefined)
    add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-fno-sanitize-recover=undefined>)
  endif()
endif()

# leave_unoptimised_when_sanitized(): for the folders of what goes over no pixels. Every access in the large headers of
# options, JSON and HTTP is checked then, and optimising that takes more than half of the build's time.
macro(leave_unoptimised_when_sanitized)
  if(QX_SANITIZE)
    add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-O0>)
  endif()
endmacro()
