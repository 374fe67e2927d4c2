// The component table binds each class id to its format's creator; filled in by the package.
