// Written by options.mjs, which asks the studio.

export interface BackgroundOptions {
  /** A CSS colour (white, lightblue, #rrggbb), gradient:COLOUR-COLOUR (top to bottom), radial:COLOUR-COLOUR (middle to corners), or transparent. */
  background: string;
  /** Number of the face, as inspect shows it; default the largest. 1 to 2147483647. */
  person?: number;
  /** Two persons: the two largest faces. */
  pair?: boolean;
  /** Leave the old surroundings' light on the rim of hair and shoulders. */
  keepRim?: boolean;
  /** Largest size of a JPEG file. 1 to 1000000. */
  maxKb?: number;
  /** Pixels an inch, written into the file; default as it is. 72 to 2400. */
  dpi?: number;
  /** jpg (default) or png. */
  format?: "png" | "jpg";
  /** Refuse larger photographs before decoding them (default 300, at most 700). 1 to 700. */
  maxMegapixels?: number;
}

export interface CheckOptions {
  /** The document; idphoto presets lists them. */
  preset?: string;
  /** Width and height: 35x45mm, 3.5x4.5cm, 2x2in, 400x514px. */
  size?: string;
  /** Pixels an inch, written into the file (default 300). 72 to 2400. */
  dpi?: number;
  /** Chin to what head-to says: 32-36mm, 70-80%. */
  head?: string;
  /** Where the head ends: crown, the top of the skull (default), or hair. */
  headTo?: "crown" | "hair";
  /** Space above the hair. */
  top?: string;
  /** Width of the face (percents are of the width). */
  faceWidth?: string;
  /** Eyes to the lower edge. */
  eyes?: string;
  /** Of a child under six: pose, gaze and expression are only shown. */
  child?: boolean;
  /** Draw the measures into the photograph. */
  draw?: boolean;
  /** Refuse larger photographs before decoding them (default 300, at most 700). 1 to 700. */
  maxMegapixels?: number;
}

export interface CompressOptions {
  /** Largest size of the file. 1 to 1000000. */
  maxKb?: number;
  /** Least size of the file. 1 to 1000000. */
  minKb?: number;
  /** Pixels an inch, written into the file; default as it is, or 300. 72 to 2400. */
  dpi?: number;
  /** jpg (default) or png. */
  format?: "png" | "jpg";
  /** Refuse larger photographs before decoding them (default 300, at most 700). 1 to 700. */
  maxMegapixels?: number;
}

export interface CropOptions {
  /** Width of the frame, 0 (close) to 1 (wide); default 0.667. 0 to 1. */
  ratio?: number;
  /** Largest width of a picture in pixels, 600 or above; default 800. 600 to 2147483647. */
  bound?: number;
  /** Keep the photograph's own scale, however large. */
  srcSame?: boolean;
  /** Without loss (png, default) or smaller (jpg, quality 95). */
  format?: "png" | "jpg";
  /** Refuse larger photographs before decoding them (default 300, at most 700). 1 to 700. */
  maxMegapixels?: number;
}

export interface InspectOptions {
  /** The points to draw: 11, 38 (default) or 88. */
  points?: "key" | "landmarks" | "dense";
  /** Draw boxes and numbered points into the photograph. */
  draw?: boolean;
  /** png (default) or jpg. */
  format?: "png" | "jpg";
  /** Refuse larger photographs before decoding them (default 300, at most 700). 1 to 700. */
  maxMegapixels?: number;
}

export interface MakeOptions {
  /** The document; idphoto presets lists them. */
  preset?: string;
  /** Width and height: 35x45mm, 3.5x4.5cm, 2x2in, 400x514px. */
  size?: string;
  /** Pixels an inch, written into the file (default 300). 72 to 2400. */
  dpi?: number;
  /** Chin to what head-to says: 32-36mm, 70-80%. */
  head?: string;
  /** Where the head ends: crown, the top of the skull (default), or hair. */
  headTo?: "crown" | "hair";
  /** Space above the hair. */
  top?: string;
  /** Width of the face (percents are of the width). */
  faceWidth?: string;
  /** Eyes to the lower edge; or, as a number without a unit, smaller (-10) or larger eyes (10). */
  eyes?: string;
  /** Retouch: light, natural or strong; single strengths can be given beside it. */
  beauty?: "light" | "natural" | "strong";
  /** Smaller (-10) or larger mouth (10). -10 to 10. */
  mouth?: number;
  /** Lighter, more even colours, 0 to 10. 0 to 10. */
  tone?: number;
  /** Fewer spots and smoother skin, 0 to 5. 0 to 5. */
  skin?: number;
  /** Clearer eyes. */
  detail?: boolean;
  /** Narrower face, 0 to 5. 0 to 5. */
  face?: number;
  /** Darker (-10) or brighter (10). -10 to 10. */
  brightness?: number;
  /** Less (-10) or more contrast (10). -10 to 10. */
  contrast?: number;
  /** Grey (-10) or more colourful (10). -10 to 10. */
  saturation?: number;
  /** Bluer (-10) or yellower (10). -10 to 10. */
  temperature?: number;
  /** Greener (-10) or more magenta (10). -10 to 10. */
  tint?: number;
  /** auto takes away the cast of the light where greys and the whites of the eyes show one; or keep (default). */
  whiteBalance?: "auto" | "keep";
  /** Softer (-10) or sharper (10). -10 to 10. */
  sharpness?: number;
  /** Size of the person, in percent of the one that is chosen, 70 to 150. 70 to 150. */
  zoom?: number;
  /** Move the person to the right, in percent of the width, -30 to 30. -30 to 30. */
  offsetX?: number;
  /** Move the person down, in percent of the height, -30 to 30. -30 to 30. */
  offsetY?: number;
  /** Turn the picture clockwise beyond the straightening, in degrees, -15 to 15. -15 to 15. */
  turn?: number;
  /** keep, a CSS colour (white, lightblue, #rrggbb), gradient:COLOUR-COLOUR (top to bottom), radial:COLOUR-COLOUR (middle to corners), or transparent. */
  background?: string;
  /** Largest size of a JPEG file. 1 to 1000000. */
  maxKb?: number;
  /** Least size of a JPEG file. 1 to 1000000. */
  minKb?: number;
  /** Leave a head that leans as it is. */
  noStraighten?: boolean;
  /** Leave the old surroundings' light on the rim of hair and shoulders. */
  keepRim?: boolean;
  /** Of a person under six, who may look aside, smile and lean. */
  child?: boolean;
  /** Refuse a photograph whose persons are not shown as documents ask. */
  strict?: boolean;
  /** When no cut meets the bounds, take the nearest; or the one that was moved out of them. */
  relax?: boolean;
  /** Change the background, retouch, adjust or turn even where the authority forbids it. */
  force?: boolean;
  /** Number of the face, as inspect shows it; default the largest. 1 to 2147483647. */
  person?: number;
  /** Also write OUT-compare: before and after retouching, side by side. */
  compare?: boolean;
  /** Two persons in one photograph; of the bounds only the size counts. */
  pair?: boolean;
  /** jpg (default) or png. */
  format?: "png" | "jpg";
  /** The same cut as a second picture, with the photograph's own pixels. */
  ownSize?: boolean;
  /** Refuse larger photographs before decoding them (default 300, at most 700). 1 to 700. */
  maxMegapixels?: number;
}

export interface MaskOptions {
  /** Number of the face, as inspect shows it; default the largest. 1 to 2147483647. */
  person?: number;
  /** Two persons: the two largest faces. */
  pair?: boolean;
  /** Leave the old surroundings' light on the rim of hair and shoulders. */
  keepRim?: boolean;
  /** Pixels an inch, written into the cut-out; default none. 72 to 2400. */
  dpi?: number;
  /** The person alone instead of the mask. */
  cutout?: boolean;
  /** The mask and the person alone. */
  both?: boolean;
  /** Refuse larger photographs before decoding them (default 300, at most 700). 1 to 700. */
  maxMegapixels?: number;
}

export interface PresetsOptions {
  /** Those with these words in name, title, country or authority. */
  search?: string;
  /** Those of a country, by its code in ISO 3166, such as DE. */
  country?: string;
  /** One of them. */
  name?: string;
  /** Refuse larger photographs before decoding them (default 300, at most 700). 1 to 700. */
  maxMegapixels?: number;
}

export interface RetouchOptions {
  /** Smaller (-10) or larger eyes (10). -10 to 10. */
  eyes?: number;
  /** Retouch: light, natural or strong; single strengths can be given beside it. */
  beauty?: "light" | "natural" | "strong";
  /** Smaller (-10) or larger mouth (10). -10 to 10. */
  mouth?: number;
  /** Lighter, more even colours, 0 to 10. 0 to 10. */
  tone?: number;
  /** Fewer spots and smoother skin, 0 to 5. 0 to 5. */
  skin?: number;
  /** Clearer eyes. */
  detail?: boolean;
  /** Narrower face, 0 to 5. 0 to 5. */
  face?: number;
  /** Also write OUT-compare: before and after retouching, side by side. */
  compare?: boolean;
  /** Number of the only face to retouch, as inspect shows it; default all. 1 to 2147483647. */
  person?: number;
  /** jpg (default) or png. */
  format?: "png" | "jpg";
  /** Refuse larger photographs before decoding them (default 300, at most 700). 1 to 700. */
  maxMegapixels?: number;
}

export interface SheetOptions {
  /** 3.5x5, 4x6 (default), 5x7, 6x8, 8x10 (inches), A3 to A7, letter, or a size such as 10x15cm. */
  paper?: string;
  /** Copies of each photograph; default: as many as there is room for. 1 to 1000. */
  copies?: number;
  /** Print size of photographs whose files do not tell theirs, such as 35x45mm. */
  size?: string;
  /** Pixels an inch of the sheet; default: those of the photographs. 50 to 2400. */
  dpi?: number;
  /** White edge of the paper; default 3mm. */
  margin?: string;
  /** Space between photographs; default 2mm. */
  gap?: string;
  /** jpg (default), png or tiff. */
  format?: "png" | "jpg" | "tiff";
  /** The size counts even where a file tells another. */
  sizeCounts?: boolean;
  /** Refuse larger photographs before decoding them (default 300, at most 700). 1 to 700. */
  maxMegapixels?: number;
}

export interface WatermarkOptions {
  /** What is written. */
  text: string;
  /** Height of the letters in pixels, 4 to 1000; default 20. 4 to 1000. */
  size?: number;
  /** From 0, not to be seen, to 1; default 0.5. 0 to 1. */
  opacity?: number;
  /** Degrees by which the lines rise to the right, -180 to 180; default 30. -180 to 180. */
  angle?: number;
  /** A CSS colour (grey, the default, or #rrggbb). */
  color?: string;
  /** Pixels between repetitions, 0 to 10000; default 25. 0 to 10000. */
  space?: number;
  /** Largest size of a JPEG file. 1 to 1000000. */
  maxKb?: number;
  /** Pixels an inch, written into the file; default as it is, or 300. 72 to 2400. */
  dpi?: number;
  /** jpg (default) or png. */
  format?: "png" | "jpg";
  /** Refuse larger photographs before decoding them (default 300, at most 700). 1 to 700. */
  maxMegapixels?: number;
}
