#pragma once

#include "scene/scene.h"

namespace corrivane::host {

/// Puts a node where `local`, beside its parent, says, at a time in seconds. With `as_keys`, parts that differ get a key
/// there, and one at the start that keeps what was. Otherwise the animation of such a part is moved as a whole, so
/// that it passes through the wanted place at that time.
void place_node(Scene& scene, int node, const Transform& local, bool as_keys, double seconds);

/// The same for a matrix, which a node without animation keeps as it is where it cannot be taken apart.
void place_node(Scene& scene, int node, const Imath::M44f& local, bool as_keys, double seconds);

/// Hangs a node below another, -1 for none, where it stands at that time. False when that is the node itself or
/// below it.
bool set_parent(Scene& scene, int node, int parent, double seconds);

/// Takes a node's animation away; it stays where it is at that time.
void remove_keys(Scene& scene, int node, double seconds);

/// Takes everything that can be seen of a node away, and its name; its children go to the scene's root and stay where
/// they are at that time.
void delete_node(Scene& scene, int node, double seconds);

}  // namespace corrivane::host
