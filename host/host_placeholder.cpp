// Replaced by the host implementation.
