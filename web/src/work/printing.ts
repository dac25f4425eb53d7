import { jpegSize } from "../files/jpeg";
import { bytesOf } from "../files/files";

/** Prints a picture alone, at its true size on paper of its size. */
export async function printPicture(picture: Blob): Promise<void> {
  const { width, height, dpi } = jpegSize(await bytesOf(picture));
  const millimetres = (pixels: number): string => `${((pixels * 25.4) / dpi).toFixed(2)}mm`;
  const image = new Image();
  image.id = "printed";
  image.alt = "";
  image.style.width = millimetres(width);
  image.src = URL.createObjectURL(picture);
  await image.decode();
  document.body.append(image);
  // A rule of a style sheet that the page owns: the policy allows no other way to tell the paper's size.
  const rules = document.styleSheets[0]!;
  const index = rules.insertRule(`@page { size: ${millimetres(width)} ${millimetres(height)}; margin: 0 }`, rules.cssRules.length);
  addEventListener("afterprint", () => {
    rules.deleteRule(index);
    image.remove();
    URL.revokeObjectURL(image.src);
  }, { once: true });
  print();
}
