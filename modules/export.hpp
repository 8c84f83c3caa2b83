// Marks what a module offers to the layer; everything else in it is hidden.
#pragma once

#define KMR_EXPORT extern "C" __attribute__((visibility("default")))
