/*
 * libqx_idp: identification photographs from ordinary photographs.
 *
 * The library takes an 8-bit photograph of one or two persons, finds the faces through the face engine
 * libQX_FaceSDK, and cuts for each of them (or for two of them together) an upright, framed crop at a known
 * scale, the rough crop. On a crop it scores quality, exchanges a person mask, retouches, and finds the rectangle
 * of the finished photograph.
 *
 * Images    8-bit samples, rows top to bottom, stored back to back with no gap. Colour images have three bytes a
 *           pixel in the order blue, green, red. Masks have one byte a pixel.
 * Buffers   The library copies into buffers that the caller owns; it never hands out a pointer of its own. Each
 *           function says how many bytes it writes.
 * Statuses  Every function but create and delete answers one of the IDP_* codes. Arguments are checked in the
 *           order in which the function's comment lists them, and the first check that fails decides.
 * Indices   A face index counts from 0 in the order of the face engine.
 * Threads   The library starts no thread and takes no lock. One handle serves one call at a time, and so does
 *           one result; distinct handles and results are independent.
 *
 * The header is valid C99 and C++.
 */
#ifndef QX_IDP_H
#define QX_IDP_H

#include <stdint.h>

#define QX_IDP_VERSION_MAJOR 0
#define QX_IDP_VERSION_MINOR 2
#define QX_IDP_VERSION_PATCH 0
/* One number for #if: 10000 * major + 100 * minor + patch. */
#define QX_IDP_VERSION (QX_IDP_VERSION_MAJOR * 10000 + QX_IDP_VERSION_MINOR * 100 + QX_IDP_VERSION_PATCH)

#if defined(QX_IDP_BUILD) && defined(__GNUC__)
#define QX_IDP_API __attribute__((visibility("default")))
#else
#define QX_IDP_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Status codes. */
#define IDP_OK 0                    /* success */
#define IDP_ERR_PARAM (-1)          /* bad argument, index out of range, missing input, or memory ran out */
#define IDP_ERR_HANDLE (-3)         /* null handle or null result */
#define IDP_ERR_NO_FACE (-5)        /* no face found */
#define IDP_ERR_TOO_MANY_FACES (-6) /* two-face crop: more than two faces found */
#define IDP_ERR_TOO_FEW_FACES (-7)  /* two-face crop: only one face found */
#define IDP_ERR_PAIR_CROP (-8)      /* two-face crop: the faces do not stand the same way up */
#define IDP_ERR_NO_FIT (-9)         /* fine crop: no rectangle meets the bounds */
#define IDP_ERR_NO_MASK (-10)       /* a person mask is needed and none was set */

/* Crop modes of QX_IDP_RoughCrop. */
#define IDP_CROP_SINGLE 1 /* one crop for each face */
#define IDP_CROP_PAIR 2   /* one crop that holds exactly two faces */

/* The engine and the settings of the crop. Made by QX_IDP_CreateHandle. */
typedef struct IdpHandle IdpHandle;
/* All that is known of one photograph after its crop run. Made by QX_IDP_CreateIDPResult. */
typedef struct IDPResult IDPResult;

/* A caller's image. The library only reads `pixels`, and only during the call. */
typedef struct IdpImage {
  uint8_t* pixels;  /* height * width * channels bytes */
  int32_t channels; /* 1 (grey) or 3 (blue, green, red) */
  int32_t height;   /* rows; 0 or below is an empty image */
  int32_t width;    /* pixels in a row; 0 or below is an empty image */
} IdpImage;

/* Strengths of the retouching stages. 0 leaves a stage without effect. */
typedef struct BeautyParams {
  double p[7]; /* p[0], p[1]: size of the two eyes; p[2]: size of the mouth (each may be negative: smaller);
                  p[3]: skin tone, 0 to 10, truncated to a whole number; p[4]: skin smoothing, 0 to 5;
                  p[5]: eye detail, on when above 0; p[6]: face contour */
} BeautyParams;

/* What QX_IDP_CheckQuality measures, each 0 to 100. */
typedef struct QualityScores {
  int32_t tilt;       /* 100: the eyes are level; 0: tilted by a sine of 0.3 or more */
  int32_t brightness; /* 100: mean grey of the face is 126 or more; 0: 6 or less */
  int32_t symmetry;   /* 100: the halves of the face mirror each other in grey */
  int32_t background; /* 100: the background beside the head is one colour that differs from the clothes */
} QualityScores;

/* What QX_IDP_FineCrop is asked for. A pair of bounds is in force when both of its values are above 0; the face
 * width pair is in force when both are 0 or above (so 0, 0 rejects; use -1, -1 for none). */
typedef struct FineCropParams {
  int32_t width, height;             /* proportions of the finished photograph, each 1 or above */
  double headMin, headMax;           /* top of the hair to the chin, as a fraction of the photograph's height */
  double topMin, topMax;             /* free space above the hair, as a fraction of the height */
  double eyeMin, eyeMax;             /* eyes to the lower edge, as a fraction of the height */
  double faceWidthMin, faceWidthMax; /* width of the face, as a fraction of the widest photograph that fits */
} FineCropParams;

/* A rectangle of pixels in crop coordinates, all four edges inclusive. May reach outside the crop. */
typedef struct CropRect {
  int32_t left, top, right, bottom;
} CropRect;

/* Returns the name of a status code, such as "IDP_ERR_NO_FACE"; "unknown status" for any other number. */
static inline const char* QX_IDP_StatusName(int32_t status) {
  switch (status) {
    case IDP_OK: return "IDP_OK";
    case IDP_ERR_PARAM: return "IDP_ERR_PARAM";
    case IDP_ERR_HANDLE: return "IDP_ERR_HANDLE";
    case IDP_ERR_NO_FACE: return "IDP_ERR_NO_FACE";
    case IDP_ERR_TOO_MANY_FACES: return "IDP_ERR_TOO_MANY_FACES";
    case IDP_ERR_TOO_FEW_FACES: return "IDP_ERR_TOO_FEW_FACES";
    case IDP_ERR_PAIR_CROP: return "IDP_ERR_PAIR_CROP";
    case IDP_ERR_NO_FIT: return "IDP_ERR_NO_FIT";
    case IDP_ERR_NO_MASK: return "IDP_ERR_NO_MASK";
    default: return "unknown status";
  }
}

/* Creates a handle with its own face engine. Defaults: source scale off, width bound 800, ratio about 0.667.
 * Returns null when memory is short or the engine cannot load. The caller frees it with QX_IDP_DeleteHandle. */
QX_IDP_API IdpHandle* QX_IDP_CreateHandle(void);

/* Frees a handle and its engine. Null is allowed. Results made with it stay valid. */
QX_IDP_API void QX_IDP_DeleteHandle(IdpHandle* handle);

/* Creates an empty result. Returns null when memory is short. The caller frees it with QX_IDP_DeleteIDPResult. */
QX_IDP_API IDPResult* QX_IDP_CreateIDPResult(void);

/* Frees a result and all images in it. Null is allowed. */
QX_IDP_API void QX_IDP_DeleteIDPResult(IDPResult* result);

/* Turns source scale on (nonzero) or off (0, the default). On: crops keep the scale of the photograph, the width
 * bound is not applied, and masks can be exchanged in source geometry. Holds from the next QX_IDP_RoughCrop.
 * Null handle: IDP_ERR_HANDLE. */
QX_IDP_API int32_t QX_IDP_SetSrcSame(IdpHandle* handle, uint8_t srcSame);

/* Writes the flag. Null handle: IDP_ERR_HANDLE; null out: IDP_ERR_PARAM. */
QX_IDP_API int32_t QX_IDP_GetSrcSame(IdpHandle* handle, uint8_t* srcSame);

/* Sets the upper bound of a crop's width in pixels, 600 or above (default 800); any negative number stores -1.
 * Without source scale a bound of -1 is applied as it stands and gives empty crops: to have no bound, turn source
 * scale on or set a large bound.
 * Null handle: IDP_ERR_HANDLE; 0 to 599: IDP_ERR_PARAM, the bound stays as it was. */
QX_IDP_API int32_t QX_IDP_SetRCLRBound(IdpHandle* handle, int32_t bound);

/* Writes the bound, -1 when it was set negative. Null handle: IDP_ERR_HANDLE; null out: IDP_ERR_PARAM. */
QX_IDP_API int32_t QX_IDP_GetRCLRBound(IdpHandle* handle, int32_t* bound);

/* Sets how wide the frame stands around the face, 0 (close) to 1 (wide): the crop is 2 * (2 + 0.6 * ratio) times as
 * wide as the distance between the outer eye corners. A NaN is stored and gives empty crops.
 * Null handle: IDP_ERR_HANDLE; below 0 or above 1: IDP_ERR_PARAM. */
QX_IDP_API int32_t QX_IDP_SetRCLRRatio(IdpHandle* handle, double ratio);

/* Writes the ratio. Null handle: IDP_ERR_HANDLE; null out: IDP_ERR_PARAM. */
QX_IDP_API int32_t QX_IDP_GetRCLRRatio(IdpHandle* handle, double* ratio);

/* Finds the faces of `image` and cuts their crops into `result`, with the handle's settings of this moment. What
 * an earlier run left in the result is released first.
 * mode: IDP_CROP_SINGLE or IDP_CROP_PAIR.
 * In this order: null handle or result: IDP_ERR_HANDLE; null image or pixels, channels other than 1 or 3, another
 * mode: IDP_ERR_PARAM. Then the run: IDP_OK, IDP_ERR_NO_FACE, IDP_ERR_TOO_MANY_FACES, IDP_ERR_TOO_FEW_FACES,
 * IDP_ERR_PAIR_CROP, or IDP_ERR_PARAM when memory runs out; all but IDP_OK leave the result without faces.
 * A single face whose crop would take 2 GiB or more is kept without a crop; its later calls answer
 * IDP_ERR_PARAM. */
QX_IDP_API int32_t QX_IDP_RoughCrop(IdpHandle* handle, const IdpImage* image, int32_t mode, IDPResult* result);

/* Writes the number of faces. Null result: IDP_ERR_HANDLE; null out: IDP_ERR_PARAM. */
QX_IDP_API int32_t QX_IDP_GetFaceNumber(IDPResult* result, int32_t* count);

/* Writes the size of the face's crop, or of the common crop in pair mode, in pixels: the height first. The size
 * is 0 or below for an empty crop.
 * Null result: IDP_ERR_HANDLE; index not below the face count, null outs: IDP_ERR_PARAM. */
QX_IDP_API int32_t QX_IDP_GetRCSize(IDPResult* result, int32_t index, int32_t* height, int32_t* width);

/* Copies the crop: `image` takes width * height * 3 bytes, `mask` width * height bytes, which are 1 where the pixel
 * comes from the photograph and 0 where it lies outside (there the image is white).
 * Null result: IDP_ERR_HANDLE; index not below the face count, null outs, no crop: IDP_ERR_PARAM. */
QX_IDP_API int32_t QX_IDP_GetRCImage(IDPResult* result, int32_t index, uint8_t* image, uint8_t* mask);

/* Scores the face's crop. In pair mode answers IDP_OK and writes nothing. `scores` must not be null.
 * Null handle or result: IDP_ERR_HANDLE; index not below the face count, no crop: IDP_ERR_PARAM. */
QX_IDP_API int32_t QX_IDP_CheckQuality(IdpHandle* handle, IDPResult* result, int32_t index, QualityScores* scores);

/* Segmentation is not offered; the host makes the person mask. Null handle or third argument: IDP_ERR_HANDLE;
 * otherwise always IDP_ERR_PARAM. */
QX_IDP_API int32_t QX_IDP_Segment(IdpHandle* handle, void* unused, void* out);

/* Copies the person mask and colour image in crop geometry. Either out may be null, not both: `mask` takes
 * width * height bytes of the crop, `colour` three times as many.
 * Null result: IDP_ERR_HANDLE; index not below the face count, both outs null, no crop: IDP_ERR_PARAM; no mask set:
 * IDP_ERR_NO_MASK. */
QX_IDP_API int32_t QX_IDP_GetRCMaskFg(IDPResult* result, int32_t index, uint8_t* mask, uint8_t* colour);

/* Carries the face's mask and colour image back into source geometry, 0 outside the crop. Either out may be null:
 * `mask` takes srcWidth * srcHeight bytes, `colour` three times as many.
 * Null result: IDP_ERR_HANDLE; index not below the face count, no crop: IDP_ERR_PARAM; no mask set:
 * IDP_ERR_NO_MASK; crop run made without source scale: IDP_ERR_PARAM. */
QX_IDP_API int32_t QX_IDP_GetSrcMaskFg(IDPResult* result, int32_t index, uint8_t* mask, uint8_t* colour);

/* Hands over a person mask (0 background to 255 person) and a colour image in source geometry: srcWidth * srcHeight
 * bytes and three times as many, only read during the call. The face keeps both in crop geometry.
 * Null result: IDP_ERR_HANDLE; index not below the face count, no crop, a null buffer, or crop run made without
 * source scale: IDP_ERR_PARAM. */
QX_IDP_API int32_t QX_IDP_SetSrcMaskFg(IDPResult* result, int32_t index, const uint8_t* mask, const uint8_t* colour);

/* Retouches `image` (with its pixels; same size as the photograph of the result) or, when `image` or its pixels are
 * null, the colour image that was set with the face's mask. `params` must not be null. `imageOut` takes
 * height * width * 3 bytes of what is retouched; `maskOut`, needed without `image` in single mode, takes
 * width * height bytes of the crop.
 * In this order: null handle or result: IDP_ERR_HANDLE; null imageOut, index not below the face count, no crop, an
 * image of other than 3 channels, null maskOut where needed: IDP_ERR_PARAM; no mask set, single mode without image:
 * IDP_ERR_NO_MASK. In pair mode the parameters are kept for the face of the index and both faces are retouched with
 * theirs. */
QX_IDP_API int32_t QX_IDP_DoFaceBeauty(IdpHandle* handle, const IdpImage* image, IDPResult* result, int32_t index,
                                       const BeautyParams* params, uint8_t* maskOut, uint8_t* imageOut);

/* Retouches the face's colour image and carries it and its mask back into source geometry, 0 outside the crop:
 * `maskOut` takes srcWidth * srcHeight bytes, `imageOut` three times as many. `params` must not be null.
 * In this order: null handle or result: IDP_ERR_HANDLE; null imageOut, index not below the face count, no crop,
 * pair mode, null maskOut: IDP_ERR_PARAM; no mask set: IDP_ERR_NO_MASK. */
QX_IDP_API int32_t QX_IDP_Do91Beauty(IdpHandle* handle, IDPResult* result, int32_t index, const BeautyParams* params,
                                     uint8_t* maskOut, uint8_t* imageOut);

/* Finds the rectangle of the finished photograph inside the face's crop (or, in pair mode, the common crop with
 * fixed proportions of 3:2, the bounds unused). Writes `rect` only on IDP_OK. `params` and `rect` must not be null.
 * In this order: null result: IDP_ERR_HANDLE; index not below the face count, no crop: IDP_ERR_PARAM; no mask set:
 * IDP_ERR_NO_MASK; single mode: height or width below 1, headMin above headMax, eyeMin above eyeMax, topMin above
 * topMax: IDP_ERR_PARAM; pair mode: no mask of the common crop: IDP_ERR_PARAM; nothing fits: IDP_ERR_NO_FIT. */
QX_IDP_API int32_t QX_IDP_FineCrop(IDPResult* result, int32_t index, const FineCropParams* params, CropRect* rect);

/* 1: asks drivers of machines with two graphics processors for the discrete one. Nothing here reads it. */
extern QX_IDP_API uint32_t NvOptimusEnablementCuda;

#ifdef __cplusplus
}
#endif

#endif /* QX_IDP_H */
