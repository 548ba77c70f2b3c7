// Placeholder for a module that has no sources yet.
