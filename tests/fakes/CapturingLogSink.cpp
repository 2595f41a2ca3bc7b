// Filled in with the capturing log sink.
