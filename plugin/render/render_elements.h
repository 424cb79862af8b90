#pragma once

struct JobState;

// The render elements of a frame. An element without an output record is passed over everywhere, and so is one
// whose bitmap could not be made: the frame then has one file less.

/// Asks 3ds Max for the active elements and their output records. Once for each opening of the renderer.
void collect_render_elements(JobState& job);

/// Names each element's file after the frame and makes its bitmap.
void create_element_bitmaps(JobState& job, int frame);

/// Makes the bitmaps in which a multi-pass effect accumulates the elements. Only an open renderer knows whether
/// there is an effect.
void create_element_accumulators(JobState& job);

/// Writes each element's image: in a multi-pass frame what was accumulated.
void save_elements(JobState& job);
