// Filled below.
