// Empty, to show what any shared object costs.
