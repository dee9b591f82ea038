// An empty shared object, to measure the cost of loading one.
