# embed_binary(TARGET SYMBOL FILE [OFFSET LENGTH])
# Puts the bytes of FILE (or LENGTH of them from OFFSET on) into TARGET's read-only data. C++ code declares them as
#   extern "C" const unsigned char SYMBOL[], SYMBOL_end[];
function(embed_binary target symbol file)
  set(range "")
  if(ARGC EQUAL 5)
    set(range ", ${ARGV3}, ${ARGV4}")
  endif()
  set(assembly ${CMAKE_CURRENT_BINARY_DIR}/${symbol}.S)
  file(CONFIGURE OUTPUT ${assembly} @ONLY CONTENT [[
#if defined(_WIN32)
  .section .rdata,"dr"
#elif defined(__wasm__)
  .section .rodata.@symbol@,"",@
  .hidden @symbol@
  .hidden @symbol@_end
  .type @symbol@,@object
  .type @symbol@_end,@object
  .size @symbol@_end, 1
#else
  .section .rodata
  .hidden @symbol@
  .hidden @symbol@_end
#endif
  .balign 64
  .global @symbol@
@symbol@:
  .incbin "@file@"@range@
#if defined(__wasm__)
  .size @symbol@, .-@symbol@
#endif
  .global @symbol@_end
@symbol@_end:
  .byte 0
#if !defined(_WIN32) && !defined(__wasm__)
  .section .note.GNU-stack,"",@progbits
#endif
]])
  set_source_files_properties(${assembly} PROPERTIES OBJECT_DEPENDS ${file})
  target_sources(${target} PRIVATE ${assembly})
endfunction()
