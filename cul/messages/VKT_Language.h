#pragma once

/// A source language, by the number that the engine knows it by: which number is which language is
/// the engine's to say. Module names exist for some of the numbers up to 16, see CUL_Product.
enum VKT_Language : int {};
