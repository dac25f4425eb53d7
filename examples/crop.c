/*
 * Cuts the rough crop of every face in a photograph.
 *
 *   crop PHOTO.ppm PREFIX      writes PREFIX1.ppm, PREFIX2.ppm, ...
 *
 * Photographs are binary PPM files (P6, 8 bit), the simplest form there is; a real program reads its pictures through
 * an image library. The library stores colours in the order blue, green, red and PPM the other way round.
 */
#include <ctype.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include "qx_idp.h"

/* Exchanges red and blue of `count` pixels. */
static void SwapRedAndBlue(uint8_t* pixels, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    uint8_t first = pixels[3 * i];
    pixels[3 * i] = pixels[3 * i + 2];
    pixels[3 * i + 2] = first;
  }
}

/* Reads a number of a PPM header, after white space and comments. Returns 0 when there is none below 1,000,000. */
static int ReadNumber(FILE* file) {
  int next = fgetc(file);
  while (next == '#' || isspace(next)) {
    if (next == '#') {
      while (next != '\n' && next != EOF) next = fgetc(file);
    }
    next = fgetc(file);
  }
  int number = 0;
  while (isdigit(next) && number < 100000) {
    number = 10 * number + (next - '0');
    next = fgetc(file);
  }
  return isspace(next) ? number : 0; /* a single white-space character ends each number */
}

/* Reads a PPM file into `image`, whose pixels the caller frees. Returns 0 when it cannot. */
static int ReadPhotograph(const char* path, IdpImage* image) {
  FILE* file = fopen(path, "rb");
  if (!file) {
    perror(path);
    return 0;
  }
  int isPpm = fgetc(file) == 'P' && fgetc(file) == '6';
  int width = ReadNumber(file);
  int height = ReadNumber(file);
  if (!isPpm || ReadNumber(file) != 255 || width < 1 || height < 1 || width > INT_MAX / 3 / height) {
    fprintf(stderr, "%s: not a binary PPM file of 8 bit and less than 2 GiB\n", path);
    fclose(file);
    return 0;
  }
  size_t count = (size_t)width * (size_t)height;
  uint8_t* pixels = malloc(3 * count);
  if (!pixels || fread(pixels, 3, count, file) != count) {
    fprintf(stderr, "%s: %s\n", path, pixels ? "the file ends too early" : "out of memory");
    free(pixels);
    fclose(file);
    return 0;
  }
  fclose(file);
  SwapRedAndBlue(pixels, count);
  image->pixels = pixels;
  image->channels = 3;
  image->height = height;
  image->width = width;
  return 1;
}

/* Writes blue-green-red pixels as a PPM file; turns them round in place. Returns 0 when it cannot. */
static int WritePicture(const char* path, uint8_t* pixels, int32_t height, int32_t width) {
  size_t count = (size_t)width * (size_t)height;
  FILE* file = fopen(path, "wb");
  if (!file) {
    perror(path);
    return 0;
  }
  SwapRedAndBlue(pixels, count);
  int written =
      fprintf(file, "P6\n%d %d\n255\n", (int)width, (int)height) > 0 && fwrite(pixels, 3, count, file) == count;
  if (fclose(file) != 0 || !written) {
    fprintf(stderr, "%s: could not be written\n", path);
    return 0;
  }
  return 1;
}

/* Every status is looked at: says what failed and returns 0 unless it is IDP_OK. */
static int Succeeded(int32_t status, const char* what) {
  if (status != IDP_OK) fprintf(stderr, "%s: %s\n", what, QX_IDP_StatusName(status));
  return status == IDP_OK;
}

/* Writes the crop of one face to PREFIX<index + 1>.ppm. */
static int SaveCrop(IDPResult* result, int32_t index, const char* prefix) {
  int32_t height = 0, width = 0;
  if (!Succeeded(QX_IDP_GetRCSize(result, index, &height, &width), "size of the crop")) return 0;
  if (height <= 0 || width <= 0) {
    fprintf(stderr, "face %d: the crop is empty\n", (int)index + 1);
    return 0;
  }
  /* The library copies into buffers of ours: three bytes a pixel for the crop, one for its mask. */
  size_t count = (size_t)height * (size_t)width;
  uint8_t* pixels = malloc(3 * count);
  uint8_t* mask = malloc(count);
  char path[4096];
  int length = snprintf(path, sizeof path, "%s%d.ppm", prefix, (int)index + 1);
  int done = pixels && mask && length > 0 && (size_t)length < sizeof path &&
             Succeeded(QX_IDP_GetRCImage(result, index, pixels, mask), "crop") &&
             WritePicture(path, pixels, height, width);
  if (done) printf("%s %dx%d\n", path, (int)width, (int)height);
  free(mask);
  free(pixels);
  return done;
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s PHOTO.ppm PREFIX\n", argv[0]);
    return 2;
  }
  IdpImage photograph;
  if (!ReadPhotograph(argv[1], &photograph)) return 1;

  /* A handle owns a face engine and serves any number of photographs; a result holds what is known of one. */
  IdpHandle* handle = QX_IDP_CreateHandle();
  IDPResult* result = QX_IDP_CreateIDPResult();
  int32_t faces = 0;
  int done = 0;
  if (!handle || !result) {
    fprintf(stderr, "the library could not be set up: no memory, or no face engine\n");
  } else if (Succeeded(QX_IDP_RoughCrop(handle, &photograph, IDP_CROP_SINGLE, result), argv[1]) &&
             Succeeded(QX_IDP_GetFaceNumber(result, &faces), "number of faces")) {
    done = 1;
    for (int32_t i = 0; i < faces; ++i) done = SaveCrop(result, i, argv[2]) && done;
  }

  QX_IDP_DeleteIDPResult(result);
  QX_IDP_DeleteHandle(handle);
  free(photograph.pixels);
  return done ? 0 : 1;
}
