/** A function that puts a vector of 128 bits on the stack within a try block, as a whole module. */
const probe = new Uint8Array([
  0, 97, 115, 109, 1, 0, 0, 0, // magic number and version
  1, 4, 1, 96, 0, 0, // a type: no parameters, no results
  3, 2, 1, 0, // a function of that type
  10, 13, 1, 11, 0, // its body: no locals
  6, 64, 65, 0, 253, 15, 26, 25, 11, 11, // try, i32.const 0, i8x16.splat, drop, catch_all, end, end
]);

/** Whether this browser can run the studio, as far as can be told without loading it. */
export function isSupported(): boolean {
  return typeof WebAssembly === "object" && typeof Worker === "function" && typeof OffscreenCanvas === "function"
    && typeof createImageBitmap === "function" && WebAssembly.validate(probe);
}
