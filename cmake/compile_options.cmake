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

add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-Wall> $<$<COMPILE_LANGUAGE:C,CXX>:-Wextra>
                    $<$<COMPILE_LANGUAGE:C,CXX>:-Wpedantic> $<$<COMPILE_LANGUAGE:C,CXX>:-Wconversion>)
if(QX_WERROR)
  add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-Werror>)
endif()

if(QX_SANITIZE)
  add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-fsanitize=${QX_SANITIZE}>
                      $<$<COMPILE_LANGUAGE:C,CXX>:-fno-omit-frame-pointer>)
  add_link_options(-fsanitize=${QX_SANITIZE})
  if(QX_SANITIZE MATCHES undefined)
    add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-fno-sanitize-recover=undefined>)
  endif()
endif()
