# WebAssembly for browsers: vectors of 128 bits, and exceptions as the virtual machine throws them, for the way through
# a script would be slow. Every browser that has the first has the second, or is older than 2022.
add_compile_options(-msimd128 -fwasm-exceptions)
add_link_options(-msimd128 -fwasm-exceptions)
# One file, never moved: tables of addresses would only cost time.
set(CMAKE_POSITION_INDEPENDENT_CODE OFF)

# Archives and headers come from scripts/targets/wasm_deps.sh alone, never from the machine's own.
if(NOT QX_WASM_ROOT)
  message(FATAL_ERROR "QX_WASM_ROOT is to name the folder root that scripts/targets/wasm_deps.sh has made")
endif()
list(PREPEND CMAKE_FIND_ROOT_PATH ${QX_WASM_ROOT})
list(PREPEND CMAKE_PREFIX_PATH ${QX_WASM_ROOT})
set(QX_XNNPACK_LIBRARY "${QX_WASM_ROOT}/lib/libXNNPACK.a;${QX_WASM_ROOT}/lib/libmicrokernels-prod.a" CACHE STRING "")
