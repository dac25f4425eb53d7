# embed_binary(TARGET SYMBOL FILE [OFFSET LENGTH])
# Puts the bytes of FILE (or LENGTH of them from OFFSET on) into TARGET's read-only data. C++ code declares them as
#   extern "C" const unsigned char SYMBOL[], SYMBOL_end[];
function(embed_binary target symbol file)
  set(range "")
  if(ARGC EQUAL 5)
    set(range ", ${ARGV3}, ${ARGV4}")
  endif()
  set(assembly ${CMAKE_CURRENT_BINARY_DIR}/${symbol}.S)
  # Assemblers of ELF files want to be told that no stack holds code, WebAssembly's what each symbol is and how large.
  file(CONFIGURE OUTPUT ${assembly} @ONLY CONTENT [[
#ifdef __wasm__
  .section .rodata.@symbol@,"",@
  .type @symbol@,@object
  .type @symbol@_end,@object
#else
  .section .rodata
#endif
  .balign 64
  .global @symbol@
  .hidden @symbol@
@symbol@:
  .incbin "@file@"@range@
  .global @symbol@_end
  .hidden @symbol@_end
@symbol@_end:
  .byte 0
#ifdef __wasm__
  .size @symbol@, @symbol@_end - @symbol@
  .size @symbol@_end, 1
#else
  .section .note.GNU-stack,"",@progbits
#endif
]])
  set_source_files_properties(${assembly} PROPERTIES OBJECT_DEPENDS ${file})
  target_sources(${target} PRIVATE ${assembly})
endfunction()
