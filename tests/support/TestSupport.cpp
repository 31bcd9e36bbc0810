// Shared helpers for the tests live beside this file.
