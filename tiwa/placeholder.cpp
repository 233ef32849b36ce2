// Placeholder so that the library has a source until its functions land.
