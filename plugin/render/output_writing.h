#pragma once

class Bitmap;
class BitmapInfo;
struct JobState;

/// Writes an image of the frame: the region without its padding if the job renders a region.
void save_image(JobState& job, Bitmap* bitmap, const BitmapInfo& info);
