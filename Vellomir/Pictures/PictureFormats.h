#pragma once

#include "Vellomir/Pictures/PictureBytes.h"

namespace vellomir {

// Each looks at a file of its format before it is decoded: whether the file ends where the picture
// does, and whether it can hold as many pixels as it says. They throw a `PictureFault` if not. What
// they do not understand is left to the decoder. The time is linear in the file's size.

void checkPng(const PictureBytes &file);
void checkJpeg(const PictureBytes &file);
void checkGif(const PictureBytes &file);
void checkBmp(const PictureBytes &file);
/// Of several pictures the first, which is the one that is decoded.
void checkIco(const PictureBytes &file);
void checkTiff(const PictureBytes &file);
void checkWebp(const PictureBytes &file);

} // namespace vellomir
